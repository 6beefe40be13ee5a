#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

/// What is wrong with a command line, in a sentence that names the word and, where one comes near
/// it, the word that may have been meant.
[[nodiscard]] std::string DescribeUsageError(const CLI::App& app, const CLI::ParseError& error);
