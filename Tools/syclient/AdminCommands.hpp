#pragma once

#include "Commands.hpp"

/// Each adds the kinds of one repository to "syclient admin".
void AddAdminUserFamilies(CLI::App& admin, Context& context);
void AddAdminProjectFamilies(CLI::App& admin, Context& context);
