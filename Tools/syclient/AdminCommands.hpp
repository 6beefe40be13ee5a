#pragma once

#include "Context.hpp"

namespace CLI {
class App;
}

/// Adds the actions on the projects of a server to the command that shows those of this machine.
void AddProjectActions(CLI::App& projects, Context& context);
