#include "Log/LogLineReader.hpp"

#include "Files/Detail/ReadDecimal.hpp"
#include "LogLine/LogText.hpp"
#include "OVRoot/Clock.hpp"

#include <algorithm>
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

class PageReader {
public:
    PageReader(const Syncra::Protocol::EventLogPage& page, const Syncra::Protocol::Project& project)
        : text_(page.text), separator_(page.separator), name_(OV::ToUtf8(project.name)),
          id_(OV::ToUtf8(project.id))
    {}

    [[nodiscard]] OV::Array<LogDataLine> Read()
    {
        OV::String bytes;
        OV::Array<Place> places;
        places.reserve(text_.GetLineCount());
        for (std::uint32_t line = 0; line < text_.GetLineCount(); ++line) {
            LogText::Split(text_.GetLine(line), separator_, fields_);
            places.push_back(AppendRecord(line, bytes));
        }
        const auto block = std::make_shared<const OV::String>(std::move(bytes));
        OV::Array<LogDataLine> lines;
        lines.reserve(places.size());
        LogRecord numbers;
        for (const Place& place : places) {
            numbers.sizeVal = place.sizeVal;
            numbers.timeVal = place.timeVal;
            numbers.version = place.version;
            lines.emplace_back(block, block->data() + place.start, numbers);
        }
        for (const auto& [line, time] : times_)
            lines[line].SetTime(OV::FromUtf8(time));
        return lines;
    }

private:
    /// Where a record stands in the block, and its numbers.
    struct Place {
        std::size_t start;
        std::uint32_t sizeVal;
        std::int32_t timeVal;
        std::int16_t version;
    };

    [[nodiscard]] OV::StringView Get(Field number) const
    {
        return number < fields_.size() ? fields_[number] : OV::StringView();
    }
    [[nodiscard]] std::int64_t GetNumber(Field number, std::int64_t fallback = 0) const
    {
        return ReadDecimal(Get(number)).value_or(fallback);
    }

    Place AppendRecord(std::uint32_t line, OV::String& bytes)
    {
        LogRecord record;
        record.project = name_;
        record.projectId = id_;
        record.timeVal = OV::Seconds32(GetNumber(Time));
        // A record has the number alone; a time that is spelled in another way is kept beside it.
        if (Get(Time) != std::to_string(record.timeVal))
            times_.emplace_back(line, Get(Time));
        ReadUser(Get(User), record);
        record.operation = Get(Action);
        record.sizeVal = Detail::Bytes32(GetNumber(Size));
        record.comment = Get(Comment);
        const std::int64_t version = GetNumber(Version, LastVersionWithoutDuration);
        record.version = static_cast<std::int16_t>(
            std::clamp<std::int64_t>(version, std::numeric_limits<std::int16_t>::min(),
                                     std::numeric_limits<std::int16_t>::max()));
        const OV::String seconds =
            Get(Duration).empty() ? OV::String("0s") : OV::String(Get(Duration)) + 's';
        record.duration = version > LastVersionWithoutDuration ? OV::StringView(seconds) : "N/A ";
        const std::size_t start = bytes.size();
        record.AppendTo(bytes);
        return {start, record.sizeVal, record.timeVal, record.version};
    }

    LogText text_;
    OV::String separator_, name_, id_;
    OV::Array<OV::StringView> fields_;
    /// Times that are not spelled as their number is.
    OV::Array<std::pair<std::uint32_t, OV::StringView>> times_;
};

}  // namespace

OV::Array<LogDataLine> ReadLogLines(const Syncra::Protocol::EventLogPage& page,
                                    const Syncra::Protocol::Project& project)
{
    return PageReader(page, project).Read();
}

}  // namespace SYC
