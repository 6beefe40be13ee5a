#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/// The commands and options as --help describes them, for what else is made from them.
namespace CommandTree {

/// Those that a command shows, groups without a name taken apart.
[[nodiscard]] std::vector<const CLI::Option*> OptionsOf(const CLI::App& command);
[[nodiscard]] std::vector<const CLI::App*> CommandsOf(const CLI::App& command);
[[nodiscard]] bool TakesValue(const CLI::Option& option);
/// "syclient mail send".
[[nodiscard]] std::string PathOf(const CLI::App& command);

}  // namespace CommandTree
