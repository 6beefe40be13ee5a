#include "LogLineReader.hpp"

#include "LogText.hpp"

#include <charconv>

namespace {

enum Field : std::size_t { Time, User, Action, Size, Comment, Duration, Version };
constexpr std::int64_t LastVersionWithoutDuration = 13;

std::int64_t Number(OV::StringView text, std::int64_t fallback = 0)
{
    std::int64_t number = fallback;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

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

void AppendRecord(const OV::Array<OV::StringView>& fields, LogRecord record, OV::String& bytes)
{
    const auto field = [&](Field number) {
        return number < fields.size() ? fields[number] : OV::StringView();
    };
    record.timeVal = static_cast<std::int32_t>(Number(field(Time)));
    ReadUser(field(User), record);
    record.operation = field(Action);
    record.sizeVal = static_cast<std::uint32_t>(Number(field(Size)));
    record.comment = field(Comment);
    const std::int64_t version = Number(field(Version), LastVersionWithoutDuration);
    record.version = static_cast<std::int16_t>(version);
    const OV::String seconds =
        field(Duration).empty() ? OV::String("0s") : OV::String(field(Duration)) + 's';
    record.duration = version > LastVersionWithoutDuration ? OV::StringView(seconds) : "N/A ";
    record.AppendTo(bytes);
}

}  // namespace

OV::Array<LogDataLine> ReadLogLines(const Syncra::Protocol::EventLogPage& page,
                                    const Syncra::Protocol::Project& project)
{
    const OV::String name = OV::ToUtf8(project.name), id = OV::ToUtf8(project.id);
    LogRecord record;
    record.project = name;
    record.projectId = id;
    const LogText text(page.text);
    OV::Array<OV::StringView> fields;
    OV::String bytes;
    for (std::uint32_t line = 0; line < text.GetLineCount(); ++line) {
        LogText::Split(text.GetLine(line), page.separator, fields);
        AppendRecord(fields, record, bytes);
    }
    const auto block = std::make_shared<const OV::String>(std::move(bytes));
    OV::Array<LogDataLine> lines;
    lines.reserve(text.GetLineCount());
    OV::StringView rest = *block;
    while (const std::size_t length = record.Parse(rest)) {
        lines.emplace_back(block, rest.data(), record);
        rest.remove_prefix(length);
    }
    return lines;
}
