#pragma once

#include "OVRoot/Logger.hpp"
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
    bool verbose = false;

    enum class Style { Plain, Strong, Good, Bad, Dim };

    [[nodiscard]] std::string Styled(Style style, const std::string& text) const;

    void PrintJson(const Json& value) const;
    /// On one line, out at once, for a script that reads values as they come.
    void PrintJsonLine(const Json& value) const;
    void PrintLine(const std::string& text) const;
    /// Pairs of label and value, the values aligned; pairs with an empty value are left out.
    void PrintFields(const std::vector<std::pair<std::string, std::string>>& fields) const;
    /// The first row is the heading. On a terminal, or with COLUMNS in the environment, the widest
    /// columns are cut until a line fits.
    void PrintTable(const std::vector<std::vector<std::string>>& rows) const;

    /// What is being waited for; shown to a person only.
    void Progress(const std::string& text) const;
    /// What went wrong, or what to do about it. For scripts it waits for FinishMessages; nothing
    /// when it holds what ErrorOnce told.
    void Error(const std::string& text) const;
    /// What a command that goes on wants known now.
    void Notice(const std::string& text) const;
    /// A line of the library's log: shown with --verbose. Without it the last warnings are held
    /// back, for they may say why a command failed, and are forgotten when it does not. Safe on any
    /// thread.
    void Log(const OV::LogRecord& record) const;
    /// Tells what was held back. `failure` is null after success; for scripts it is completed by
    /// "message" and "details" and printed as {"error": ...} on one line of standard error.
    void FinishMessages(Json failure) const;
    /// False when something that was printed could not be written.
    [[nodiscard]] static bool Flush();
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
/// The same, with null in the place of an empty text: what there is not.
[[nodiscard]] Json ForJsonOrNull(OV::UniStringView text);
/// "#RRGGBB".
[[nodiscard]] std::string ColourForDisplay(std::uint32_t colour);
/// Local date and time, or "never" for 0.
[[nodiscard]] std::string TimeForDisplay(std::int32_t secondsSinceEpoch);
/// "fullName" as people read it: "full name".
[[nodiscard]] std::string LabelOf(const std::string& name);
/// The same in capitals, as tables head a column.
[[nodiscard]] std::string HeadingOf(std::string label);
/// What a person reads in the place of a JSON value.
[[nodiscard]] std::string PlainText(const Json& value);
