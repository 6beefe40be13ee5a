#include "Output.hpp"

#include "OVRoot/Ascii.hpp"
#include "OVRoot/System.hpp"
#include "OVRoot/Terminal.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <mutex>

namespace {

struct ToldTexts {
    std::mutex lock;
    std::vector<std::string> texts;
};

ToldTexts& Told()
{
    static auto& told = *new ToldTexts;
    return told;
}

/// Columns of a UTF-8 text, one a code point.
std::size_t Width(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
    }));
}

std::string Padded(const std::string& text, std::size_t width)
{
    return text + std::string(width - std::min(width, Width(text)), ' ');
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
            width = std::max(width, Width(label));
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
            widths[column] = std::max(widths[column], Width(row[column]));
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column)
            line += column + 1 < row.size() ? Padded(row[column], widths[column] + 2) : row[column];
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
    const std::lock_guard guard(Told().lock);
    return std::any_of(Told().texts.begin(), Told().texts.end(), [&](const std::string& each) {
        return text.find(each) != std::string::npos;
    });
}

void Output::Error(const std::string& text) const
{
    if (!WasTold(text))
        std::cerr << "syclient: " << text << '\n';
}

bool Output::ErrorOnce(const std::string& text) const
{
    if (WasTold(text))
        return false;
    Error(text);
    const std::lock_guard guard(Told().lock);
    Told().texts.push_back(text);
    return true;
}

std::string ForDisplay(OV::UniStringView text)
{
    OV::UniString whole = WithoutLoneSurrogates(text);
    // Codes that a terminal obeys, and those that turn the direction of what follows.
    std::replace_if(
        whole.begin(), whole.end(),
        [](char16_t unit) {
            return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || OV::IsDirectionMark(unit);
        },
        u'?');
    return OV::ToUtf8(whole);
}

Json ForJson(OV::UniStringView text)
{
    return OV::ToUtf8(WithoutLoneSurrogates(text));
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
