#pragma once

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>

/// What the value of an option may be; the parser itself takes a minus before an unsigned number.
namespace Numbers {

/// Digits alone, and no more than `most`.
[[nodiscard]] inline CLI::Validator UpTo(std::uint64_t most)
{
    return CLI::Validator(
        [most](const std::string& text) {
            std::uint64_t number = 0;
            const char* const end = text.data() + text.size();
            const auto read = std::from_chars(text.data(), end, number);
            return read.ec == std::errc() && read.ptr == end && number <= most
                       ? std::string()
                       : "\"" + text + "\" is no number from 0 to " + std::to_string(most);
        },
        "");
}

/// A time of at most a year.
[[nodiscard]] inline CLI::Validator Seconds()
{
    return CLI::Validator(
        [](const std::string& text) {
            constexpr double year = 366 * 24 * 3600.0;
            double seconds = -1;
            const char* const end = text.data() + text.size();
            const auto read = std::from_chars(text.data(), end, seconds);
            return read.ec == std::errc() && read.ptr == end && seconds >= 0 && seconds <= year
                       ? std::string()
                       : "\"" + text + "\" is no number of seconds up to a year";
        },
        "");
}

}  // namespace Numbers
