#include "Diagnosis/LogFile.hpp"

#include "IO/File.hpp"
#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Clock.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace SYC {

namespace {

constexpr OV::UniStringView LogFileName = u"SYClient.log";
constexpr OV::UniStringView FormerEnd = u".1";
constexpr OV::UniStringView Mask = u"***";
constexpr std::size_t TimeLength = 20;  // 2026-11-26T08:00:00Z

OV::String TimeText(std::int32_t seconds)
{
    const std::time_t time = seconds;
    std::tm parts{};
    if (const std::tm* utc = std::gmtime(&time); utc != nullptr)
        parts = *utc;
    std::array<char, TimeLength + 1> text{};
    (void)std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

const char* WordOf(OV::LogLevel level)
{
    switch (level) {
    case OV::LogLevel::Debug:
        return "debug";
    case OV::LogLevel::Info:
        return "info";
    case OV::LogLevel::Warning:
        return "warning";
    case OV::LogLevel::Error:
        return "error";
    }
    return "info";
}

bool IsEndOfWord(char16_t c)
{
    return c <= u' ' || OV::UniStringView(u"\"'&,;<>()[]{}").find(c) != OV::UniStringView::npos;
}

std::size_t EndOfWord(OV::UniStringView text, std::size_t from)
{
    while (from < text.size() && !IsEndOfWord(text[from]))
        ++from;
    return from;
}

/// The part between the colon of a URL's user and the last "@" before its path.
void MaskUrls(OV::UniString& text)
{
    for (auto at = text.find(u"://"); at != OV::UniString::npos; at = text.find(u"://", at + 3)) {
        const auto begin = at + 3, end = std::min(text.find(u'/', begin), EndOfWord(text, begin));
        const auto authority = OV::UniStringView(text).substr(begin, end - begin);
        const auto sign = authority.rfind(u'@'), colon = authority.find(u':');
        if (sign != OV::UniStringView::npos && colon < sign)
            text.replace(begin + colon + 1, sign - colon - 1, Mask);
    }
}

/// What stands behind such a word and a colon, an equals sign or a blank.
void MaskBehind(OV::UniString& text, OV::UniStringView word, bool isBlankEnough)
{
    OV::UniString folded = OV::Folded(text);
    for (auto at = folded.find(word); at != OV::UniString::npos; at = folded.find(word, at)) {
        at += word.size();
        auto begin = at;
        bool isMarked = isBlankEnough;
        while (begin < text.size() &&
               OV::UniStringView(u" \"':=").find(text[begin]) != OV::UniStringView::npos)
            isMarked = text[begin] == u'=' || text[begin] == u':' || isMarked, ++begin;
        const auto end = EndOfWord(text, begin);
        if (!isMarked || begin == at || end == begin)
            continue;
        text.replace(begin, end - begin, Mask);
        folded = OV::Folded(text);
        at = begin + Mask.size();
    }
}

void AddLines(const IO::Location& file, const OV::String& since, OV::Array<OV::UniString>& lines)
{
    if (!IO::File::Exists(file))
        return;
    const OV::String text = IO::File::ReadAll(file);
    for (std::size_t begin = 0; begin < text.size();) {
        const auto end = std::min(text.find('\n', begin), text.size());
        const auto line = OV::StringView(text).substr(begin, end - begin);
        if (line.size() > TimeLength && line.substr(0, TimeLength) >= since)
            lines.push_back(Redacted(OV::FromUtf8(line)));
        begin = end + 1;
    }
}

}  // namespace

OV::UniString Redacted(OV::UniStringView text)
{
    OV::UniString redacted(text);
    MaskUrls(redacted);
    MaskBehind(redacted, u"bearer", true);
    for (const OV::UniStringView word : {u"password", u"passwd", u"token", u"secret", u"key"})
        MaskBehind(redacted, word, false);
    return redacted;
}

IO::Location LogFile::GetDefaultLocation()
{
    return IO::GetSpecialFolder(IO::SpecialFolder::ApplicationData)
        .Appended(u"Orvant")
        .Appended(LogFileName);
}

void LogFile::Write(const OV::LogRecord& record) const noexcept
{
    try {
        OV::String text = OV::ToUtf8(OV::EscapeForCarrier(Redacted(record.text)));
        std::replace(text.begin(), text.end(), '\n', ' ');
        const OV::String line =
            TimeText(OV::Clock::Current().Now()) + " " + WordOf(record.level) + " " + text + "\n";
        try {
            IO::File::Append(file_, line, MostBytes);
        } catch (const IO::IOException&) {
            IO::Folder::CreateTree(file_.Parent());
            IO::File::Append(file_, line, MostBytes);
        }
    } catch (...) {
        // Nobody is told: the log is where it would be.
    }
}

OV::Array<OV::UniString> LogFile::ReadLast(std::int32_t seconds) const
{
    const OV::String since = TimeText(OV::Clock::Current().Now() - seconds);
    OV::Array<OV::UniString> lines;
    AddLines(file_.Parent().Appended(file_.LastComponent() + OV::UniString(FormerEnd)), since,
             lines);
    AddLines(file_, since, lines);
    return lines;
}

}  // namespace SYC
