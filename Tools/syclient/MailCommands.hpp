#pragma once

#include "Context.hpp"

namespace CLI {
class App;
}

void AddMailSendCommands(CLI::App& mail, Context& context);
void AddMailReadCommands(CLI::App& mail, Context& context);
