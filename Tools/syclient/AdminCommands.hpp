#pragma once

#include "Commands.hpp"

/// Each adds the commands for one repository's kinds of objects: list, show, add, set, remove, and
/// what else a kind offers. "projects" gets them beside those for the projects of this machine.
void AddUserFamilies(CLI::App& app, Context& context);
void AddProjectFamilies(CLI::App& app, Context& context);
