#include "Output.hpp"

#include "OVRoot/Ascii.hpp"
#include "OVRoot/System.hpp"
#include "OVRoot/Terminal.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <mutex>

namespace {

/// What is held back, and what need not be told again. Any thread may add to it.
struct Messages {
    std::mutex lock;
    std::vector<std::string> told;
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

Messages& Held()
{
    static auto& messages = *new Messages;
    return messages;
}

std::string Padded(const std::string& text, std::size_t width)
{
    return text + std::string(width - std::min(width, OV::Terminal::Width(text)), ' ');
}

/// How wide lines may be; 0 when nobody says.
std::size_t LineWidth()
{
    const auto said = OV::System::EnvironmentVariable("COLUMNS");
    std::size_t width = 0;
    std::from_chars(said.data(), said.data() + said.size(), width);
    return width != 0 ? width : OV::Terminal::Columns(OV::Terminal::Stream::Output);
}

/// Takes from the widest columns what a line is too wide.
void Fit(std::vector<std::size_t>& widths, std::size_t line)
{
    constexpr std::size_t narrowest = 6, gap = 2;
    std::size_t total = gap * (widths.size() - 1);
    for (const auto width : widths)
        total += width;
    while (line != 0 && total > line) {
        auto& widest = *std::max_element(widths.begin(), widths.end());
        if (widest <= narrowest)
            return;
        --widest;
        --total;
    }
}

std::string Cut(const std::string& text, std::size_t width)
{
    return OV::Terminal::Width(text) <= width
               ? text
               : OV::Terminal::CutToWidth(text, width - 1) + "\u2026";
}

/// Without the class that logged it: a person does not know it.
std::string WithoutSource(const std::string& text)
{
    const auto colon = text.find(": ");
    const auto name = text.substr(0, std::min(colon, text.find(' ')));
    return colon != std::string::npos && name.find("::") != std::string::npos
               ? text.substr(colon + 2)
               : text;
}

bool Holds(const std::vector<std::string>& texts, const std::string& text)
{
    return std::any_of(texts.begin(), texts.end(), [&](const std::string& each) {
        return each.find(text) != std::string::npos || text.find(each) != std::string::npos;
    });
}

/// Whether one of the texts says what this one says, be it behind other words of what failed.
bool IsTold(const std::vector<std::string>& texts, const std::string& text)
{
    constexpr std::size_t shortest = 16;
    for (std::size_t begin = 0; begin + shortest < text.size();) {
        if (Holds(texts, text.substr(begin)))
            return true;
        const auto colon = text.find(": ", begin);
        begin = colon == std::string::npos ? text.size() : colon + 2;
    }
    return Holds(texts, text);
}

void ToStandardError(const char* kind, const std::string& text, bool isJson)
{
    if (isJson)
        std::cerr << Json{{kind, text}}.dump(-1, ' ', false, Json::error_handler_t::replace)
                  << std::endl;
    else
        std::cerr << "syclient: " << text << '\n';
}

bool UseColours()
{
    return OV::Terminal::IsTerminal(OV::Terminal::Stream::Output) &&
           OV::System::EnvironmentVariable("NO_COLOR").empty();
}

OV::UniString WithoutLoneSurrogates(OV::UniStringView text)
{
    OV::UniString whole(text);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const bool isHigh = OV::IsHighSurrogate(whole[i]);
        if (isHigh && i + 1 < whole.size() && OV::IsLowSurrogate(whole[i + 1]))
            ++i;
        else if (isHigh || OV::IsLowSurrogate(whole[i]))
            whole[i] = u'\uFFFD';
    }
    return whole;
}

}  // namespace

std::string Output::Styled(Style style, const std::string& text) const
{
    static constexpr std::array<const char*, 5> codes = {"", "1", "32", "31", "2"};
    const char* code = codes[static_cast<std::size_t>(style)];
    if (*code == '\0' || json || !UseColours())
        return text;
    return std::string("\x1b[") + code + "m" + text + "\x1b[0m";
}

void Output::PrintJson(const Json& value) const
{
    std::cout << value.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void Output::PrintJsonLine(const Json& value) const
{
    std::cout << value.dump(-1, ' ', false, Json::error_handler_t::replace) << std::endl;
}

void Output::PrintLine(const std::string& text) const
{
    // A pipe would keep it back otherwise, and somebody may be waiting for the line.
    std::cout << text << std::endl;
}

void Output::PrintFields(const std::vector<std::pair<std::string, std::string>>& fields) const
{
    std::size_t width = 0;
    for (const auto& [label, value] : fields)
        if (!value.empty())
            width = std::max(width, OV::Terminal::Width(label));
    for (const auto& [label, value] : fields)
        if (!value.empty())
            std::cout << "  " << Styled(Style::Dim, Padded(label, width)) << "  " << value << '\n';
}

void Output::PrintTable(const std::vector<std::vector<std::string>>& rows) const
{
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], OV::Terminal::Width(row[column]));
    }
    Fit(widths, LineWidth());
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const auto cell = Cut(row[column], widths[column]);
            line += column + 1 < row.size() ? Padded(cell, widths[column] + 2) : cell;
        }
        std::cout << (&row == &rows.front() ? Styled(Style::Strong, line) : line) << '\n';
    }
}

void Output::Progress(const std::string& text) const
{
    if (!json && !quiet && OV::Terminal::IsTerminal(OV::Terminal::Stream::Error))
        std::cerr << text << '\n';
}

bool Output::WasTold(const std::string& text)
{
    const std::lock_guard guard(Held().lock);
    return std::any_of(Held().told.begin(), Held().told.end(), [&](const std::string& each) {
        return text.find(each) != std::string::npos;
    });
}

void Output::Error(const std::string& text) const
{
    if (WasTold(text))
        return;
    if (!json)
        ToStandardError("error", text, false);
    const std::lock_guard guard(Held().lock);
    Held().errors.push_back(text);
}

bool Output::ErrorOnce(const std::string& text) const
{
    if (WasTold(text))
        return false;
    Error(text);
    const std::lock_guard guard(Held().lock);
    Held().told.push_back(text);
    return true;
}

void Output::Notice(const std::string& text) const
{
    ToStandardError("notice", text, json);
}

void Output::Log(const OV::LogRecord& record) const
{
    const auto text = ForDisplay(record.text);
    if (verbose)
        return ToStandardError("log", text, json);
    constexpr std::size_t most = 8;
    const std::lock_guard guard(Held().lock);
    auto& warnings = Held().warnings;
    if (record.level < OV::LogLevel::Warning || Holds(warnings, WithoutSource(text)))
        return;
    if (warnings.size() == most)
        warnings.erase(warnings.begin());
    warnings.push_back(WithoutSource(text));
}

void Output::FinishMessages(Json failure) const
{
    const std::lock_guard guard(Held().lock);
    auto& errors = Held().errors;
    if (failure.is_null()) {
        for (const auto& text : errors)
            if (json)
                ToStandardError("notice", text, true);
        return;
    }
    std::string message = errors.empty() ? "" : errors.front();
    Json details = Json::array();
    for (std::size_t i = 1; i < errors.size(); ++i)
        details.push_back(errors[i]);
    for (const auto& text : Held().warnings) {
        if (IsTold(errors, text))
            continue;
        if (!json)
            ToStandardError("error", text, false);
        else if (message.empty())
            message = text;
        else
            details.push_back(text);
    }
    if (!json)
        return;
    failure["message"] = message.empty() ? failure["kind"] : Json(message);
    failure["details"] = std::move(details);
    std::cerr << Json{{"error", std::move(failure)}}.dump(-1, ' ', false,
                                                          Json::error_handler_t::replace)
              << std::endl;
}

bool Output::Flush()
{
    return static_cast<bool>(std::cout.flush());
}

std::string ForDisplay(OV::UniStringView text)
{
    OV::UniString whole = WithoutLoneSurrogates(text);
    // A text of several lines stands on one.
    std::erase(whole, u'\r');
    std::replace_if(
        whole.begin(), whole.end(), [](char16_t unit) { return unit == u'\n' || unit == u'\t'; },
        u' ');
    // Codes that a terminal obeys, those that turn the direction of what follows, and those that
    // make a name look like another one.
    std::replace_if(
        whole.begin(), whole.end(),
        [](char16_t unit) {
            return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || OV::IsDirectionMark(unit) ||
                   OV::IsInvisibleMark(unit);
        },
        u'?');
    return OV::ToUtf8(whole);
}

Json ForJson(OV::UniStringView text)
{
    return OV::ToUtf8(WithoutLoneSurrogates(text));
}

Json ForJsonOrNull(OV::UniStringView text)
{
    return text.empty() ? Json(nullptr) : ForJson(text);
}

std::string ColourForDisplay(std::uint32_t colour)
{
    char text[8];
    std::snprintf(text, sizeof text, "#%06X", static_cast<unsigned>(colour & 0xFFFFFF));
    return text;
}

std::string TimeForDisplay(std::int32_t secondsSinceEpoch)
{
    if (secondsSinceEpoch == 0)
        return "never";
    const std::time_t time = secondsSinceEpoch;
    std::array<char, 32> text{};
    const std::size_t length =
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", std::localtime(&time));
    return {text.data(), length};
}

std::string LabelOf(const std::string& name)
{
    std::string label;
    for (const char each : name) {
        if (each != OV::Fold(each))
            label += ' ';
        label += OV::Fold(each);
    }
    return label;
}

std::string HeadingOf(std::string label)
{
    std::transform(label.begin(), label.end(), label.begin(), [](char each) {
        return each >= 'a' && each <= 'z' ? static_cast<char>(each - 'a' + 'A') : each;
    });
    return label;
}

std::string PlainText(const Json& value)
{
    if (value.is_string())
        return ForDisplay(OV::FromUtf8(value.get_ref<const std::string&>()));
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (!value.is_structured())
        return value.is_null() ? "" : value.dump();
    std::string text;
    for (const auto& [name, item] : value.items())
        text += (text.empty() ? "" : ", ") +
                (value.is_object() ? ForDisplay(OV::FromUtf8(name)) + "=" : std::string()) +
                PlainText(item);
    return text;
}
