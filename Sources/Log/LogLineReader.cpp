#include "Log/LogLineReader.hpp"

#include "Files/Detail/ReadDecimal.hpp"
#include "LogLine/Detail/LogBlockWriter.hpp"
#include "LogLine/LogText.hpp"
#include "OVRoot/Clock.hpp"

#include <algorithm>
#include <charconv>
#include <limits>

namespace SYC {

namespace {

using Detail::ReadDecimal;

enum Field : std::size_t { Time, User, Action, Size, Comment, Duration, Version };
constexpr std::int64_t LastVersionWithoutDuration = 13;

/// "Full Name (login)"; a text of another form is both.
void ReadUser(OV::StringView text, LogRecord& record)
{
    record.user = record.loginName = text;
    const std::size_t open = text.rfind(" (");
    if (open == OV::StringView::npos || !text.ends_with(')'))
        return;
    record.user = text.substr(0, open);
    record.loginName = text.substr(open + 2, text.size() - open - 3);
}

bool IsSpelledAs(OV::StringView text, std::int32_t number)
{
    char spelled[std::numeric_limits<std::int32_t>::digits10 + 2];
    const auto [end, error] = std::to_chars(std::begin(spelled), std::end(spelled), number);
    return text == OV::StringView(spelled, static_cast<std::size_t>(end - spelled));
}

/// What the lines of a page have in common, and the fields of one after the other.
class PageReader {
public:
    PageReader(const Syncra::Protocol::EventLogPage& page, const Syncra::Protocol::Project& project)
        : page_(page), name_(OV::ToUtf8(project.name)), id_(OV::ToUtf8(project.id)),
          writer_(page.text.size())
    {}

    [[nodiscard]] OV::Array<LogDataLine> Read()
    {
        OV::Array<LogDataLine> lines;
        constexpr std::size_t usualLength = 64;
        lines.reserve(page_.text.size() / usualLength);
        LogText::ForEachLine(page_.text, [&](OV::StringView line) {
            LogText::Split(line, page_.separator, fields_);
            lines.push_back(MakeLine());
        });
        return lines;
    }

private:
    [[nodiscard]] OV::StringView Get(Field number) const
    {
        return number < fields_.size() ? fields_[number] : OV::StringView();
    }
    [[nodiscard]] std::int64_t GetNumber(Field number, std::int64_t fallback = 0) const
    {
        return ReadDecimal(Get(number)).value_or(fallback);
    }

    LogDataLine MakeLine()
    {
        LogRecord record;
        record.project = name_;
        record.projectId = id_;
        record.timeVal = OV::Seconds32(GetNumber(Time));
        ReadUser(Get(User), record);
        record.operation = Get(Action);
        record.sizeVal = Detail::Bytes32(GetNumber(Size));
        record.comment = Get(Comment);
        const std::int64_t version = GetNumber(Version, LastVersionWithoutDuration);
        record.version = static_cast<std::int16_t>(
            std::clamp<std::int64_t>(version, std::numeric_limits<std::int16_t>::min(),
                                     std::numeric_limits<std::int16_t>::max()));
        seconds_.assign(Get(Duration).empty() ? "0" : Get(Duration)).push_back('s');
        record.duration = version > LastVersionWithoutDuration ? OV::StringView(seconds_) : "N/A ";
        // A time that is spelled in another way than its number is kept beside it.
        const OV::StringView time = Get(Time);
        const bool hasOwnTime = !IsSpelledAs(time, record.timeVal);
        return {writer_.Add(record, hasOwnTime ? &time : nullptr), record, hasOwnTime};
    }

    const Syncra::Protocol::EventLogPage& page_;
    OV::String name_, id_, seconds_;
    OV::Array<OV::StringView> fields_;
    Detail::LogBlockWriter writer_;
};

}  // namespace

OV::Array<LogDataLine> ReadLogLines(const Syncra::Protocol::EventLogPage& page,
                                    const Syncra::Protocol::Project& project)
{
    return PageReader(page, project).Read();
}

}  // namespace SYC
