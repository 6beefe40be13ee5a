#pragma once

#include "OVRoot/UniString.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

using Json = nlohmann::ordered_json;

/// What the user reads: text with aligned columns, or one JSON object for scripts, on standard
/// output; progress and messages on standard error. Colours only where a terminal shows them and
/// NO_COLOR is not set.
class Output {
public:
    bool json = false;
    bool quiet = false;

    enum class Style { Plain, Strong, Good, Bad, Dim };

    [[nodiscard]] std::string Styled(Style style, const std::string& text) const;

    void PrintJson(const Json& value) const;
    /// On one line, out at once, for a script that reads values as they come.
    void PrintJsonLine(const Json& value) const;
    void PrintLine(const std::string& text) const;
    /// Pairs of label and value, the values aligned; pairs with an empty value are left out.
    void PrintFields(const std::vector<std::pair<std::string, std::string>>& fields) const;
    /// The first row is the heading.
    void PrintTable(const std::vector<std::vector<std::string>>& rows) const;

    /// What is being waited for; shown to a person only.
    void Progress(const std::string& text) const;
    /// Nothing when it holds what ErrorOnce told.
    void Error(const std::string& text) const;
    /// Tells what several places would tell, each in its own words around it; false when it was
    /// told. Safe on any thread.
    bool ErrorOnce(const std::string& text) const;
    [[nodiscard]] static bool WasTold(const std::string& text);
};

/// UTF-8 for the terminal: lone surrogates as U+FFFD, control characters as "?" so that no text of
/// a server or a file can steer the terminal.
[[nodiscard]] std::string ForDisplay(OV::UniStringView text);
/// A JSON string of any text.
[[nodiscard]] Json ForJson(OV::UniStringView text);
/// "#RRGGBB".
[[nodiscard]] std::string ColourForDisplay(std::uint32_t colour);
/// Local date and time, or "never" for 0.
[[nodiscard]] std::string TimeForDisplay(std::int32_t secondsSinceEpoch);
