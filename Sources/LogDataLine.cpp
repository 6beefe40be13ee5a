#include "LogDataLine.hpp"

#include "Display/ImageCoding.hpp"
#include "Files/Detail/ReadDecimal.hpp"
#include "LogLine/ActionNameTranslator.hpp"
#include "ManagementTool/UserUtils.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Collation.hpp"
#include "OVRoot/FieldStream.hpp"
#include "OVRoot/LocalTime.hpp"
#include "OVRoot/Resources.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

namespace {

std::uint64_t NextId() noexcept
{
    static std::atomic<std::uint64_t> next{0};
    return next.fetch_add(1, std::memory_order_relaxed);
}

/// The record of a line whose texts are empty and whose numbers are 0.
constexpr std::array<char, SYC::LogRecord::NumberBytes> EmptyRecord{};

/// The order of the decoded texts. Where two texts part in ASCII, their bytes tell it.
bool IsLess(OV::StringView left, OV::StringView right)
{
    const std::size_t common = std::min(left.size(), right.size());
    const auto [a, b] = std::mismatch(left.begin(), left.begin() + common, right.begin());
    const bool leftEnds = a == left.end();
    const bool rightEnds = b == right.end();
    if (leftEnds && rightEnds)
        return false;
    const bool isAscii = (leftEnds || static_cast<unsigned char>(*a) < 0x80) &&
                         (rightEnds || static_cast<unsigned char>(*b) < 0x80);
    if (!isAscii)
        return OV::FromUtf8(left) < OV::FromUtf8(right);
    return leftEnds || (!rightEnds && *a < *b);
}

}  // namespace

LogDataLine::LogDataLine() noexcept : id_(NextId()) {}

LogDataLine::LogDataLine(LogDataLine&& other) noexcept
    : block_(std::move(other.block_)), record_(std::exchange(other.record_, nullptr)),
      id_(other.id_), sizeVal_(std::exchange(other.sizeVal_, 0)),
      timeVal_(std::exchange(other.timeVal_, 0)), version_(other.version_),
      timeText_(std::exchange(other.timeText_, TimeText::None))
{}

LogDataLine::LogDataLine(std::shared_ptr<const OV::String> block, const char* record,
                         const SYC::LogRecord& parsed)
    : block_(std::move(block)), record_(record), id_(NextId()), sizeVal_(parsed.sizeVal),
      timeVal_(parsed.timeVal), version_(parsed.version), timeText_(TimeText::OfNumber)
{}

LogDataLine& LogDataLine::operator=(const LogDataLine& other) noexcept
{
    if (this != &other)
        *this = LogDataLine(other);
    return *this;
}

LogDataLine& LogDataLine::operator=(LogDataLine&& other) noexcept
{
    block_.swap(other.block_);
    std::swap(record_, other.record_);
    std::swap(id_, other.id_);
    std::swap(sizeVal_, other.sizeVal_);
    std::swap(timeVal_, other.timeVal_);
    std::swap(timeText_, other.timeText_);
    return *this;
}

OV::StringView LogDataLine::Rest() const noexcept
{
    if (block_ == nullptr)
        return {EmptyRecord.data(), EmptyRecord.size()};
    return {record_, static_cast<std::size_t>(block_->data() + block_->size() - record_)};
}

SYC::LogRecord LogDataLine::Record() const noexcept
{
    SYC::LogRecord record;
    (void)record.Parse(Rest());
    record.version = version_;
    return record;
}

OV::StringView LogDataLine::OwnTime() const noexcept
{
    if (timeText_ != TimeText::Own)
        return {};
    SYC::LogRecord record;
    const OV::StringView rest = Rest();
    return rest.substr(record.Parse(rest));
}

void LogDataLine::Adopt(const SYC::LogRecord& record, OV::StringView ownTime)
{
    OV::String bytes;
    bytes.reserve(record.Size() + ownTime.size());
    record.AppendTo(bytes);
    bytes.append(ownTime);
    block_ = std::make_shared<const OV::String>(std::move(bytes));
    record_ = block_->data();
    sizeVal_ = record.sizeVal;
    timeVal_ = record.timeVal;
    version_ = record.version;
}

void LogDataLine::Set(OV::StringView SYC::LogRecord::*member, OV::UniStringView text)
{
    const OV::String utf8 = OV::ToUtf8(text);
    SYC::LogRecord record = Record();
    record.*member = utf8;
    Adopt(record, OwnTime());
}

bool operator==(const LogDataLine& left, const LogDataLine& right)
{
    const SYC::LogRecord a = left.Record(), b = right.Record();
    return a.user == b.user && a.loginName == b.loginName && a.duration == b.duration &&
           a.operation == b.operation && a.project == b.project && a.projectId == b.projectId &&
           a.sizeVal == b.sizeVal && a.timeVal == b.timeVal && a.comment == b.comment &&
           a.version == b.version && left.GetTime() == right.GetTime();
}

OV::UniString LogDataLine::GetTime() const
{
    return timeText_ == TimeText::OfNumber ? OV::ToText(timeVal_) : OV::FromUtf8(OwnTime());
}

OV::UniString LogDataLine::GetTimeInDays() const
{
    return Syncra::Server::ManagementTool::Core::UserUtils::GetLastActivityText(timeVal_);
}

OV::UniString LogDataLine::GetTimeString() const
{
    return timeText_ == TimeText::None ? OV::UniString() : OV::FormatLocalTime(timeVal_);
}

OV::UniString LogDataLine::GetOperationText() const
{
    const auto operation = GetOperation();
    const int text = ActionNameTranslator::GetInstance().GetTextResID(operation);
    return text == 0 ? operation : OV::GetStringListItem(ActionNameTranslator::TextList, text);
}

std::int16_t LogDataLine::GetIconNumber() const
{
    return ActionNameTranslator::GetInstance().GetIconResID(GetOperation());
}

NewDisplay::NativeImage LogDataLine::GetIcon() const
{
    return HasIcon()
               ? NewDisplay::DecodeImage(OV::GetPictureResource(GetIconNumber()), u"image/png")
               : NewDisplay::NativeImage();
}

void LogDataLine::SetUser(OV::UniStringView user)
{
    Set(&SYC::LogRecord::user, user);
}
void LogDataLine::SetLoginName(OV::UniStringView loginName)
{
    Set(&SYC::LogRecord::loginName, loginName);
}
void LogDataLine::SetDuration(OV::UniStringView duration)
{
    SetDurationText(duration.empty() ? u"0s" : OV::UniString(duration) + u's');
}
void LogDataLine::SetDurationText(OV::UniStringView text)
{
    Set(&SYC::LogRecord::duration, text);
}
void LogDataLine::SetOperation(OV::UniStringView operation)
{
    Set(&SYC::LogRecord::operation, operation);
}
void LogDataLine::SetProject(OV::UniStringView project)
{
    Set(&SYC::LogRecord::project, project);
}
void LogDataLine::SetProjectId(OV::UniStringView projectId)
{
    Set(&SYC::LogRecord::projectId, projectId);
}
void LogDataLine::SetComment(OV::UniStringView comment)
{
    Set(&SYC::LogRecord::comment, comment);
}

void LogDataLine::SetTime(OV::UniStringView time)
{
    SYC::LogRecord record = Record();
    if (const auto seconds = SYC::Detail::ReadDecimal(time))
        record.timeVal = OV::Seconds32(*seconds);
    Adopt(record, OV::ToUtf8(time));
    timeText_ = TimeText::Own;
}

void LogDataLine::SetSize(OV::UniStringView size)
{
    SYC::LogRecord record = Record();
    if (const auto bytes = SYC::Detail::ReadDecimal(size))
        record.sizeVal = SYC::Detail::Bytes32(*bytes);
    Adopt(record, OwnTime());
}

bool LogDataLine::Compare(const LogDataLine& a, const LogDataLine& b, LogField field)
{
    switch (field) {
    case LogField::Time:
        return a.timeVal_ == b.timeVal_ ? a.id_ < b.id_ : a.timeVal_ < b.timeVal_;
    case LogField::User:
        return IsLess(a.Record().user, b.Record().user);
    case LogField::Duration:
        return IsLess(a.Record().duration, b.Record().duration);
    case LogField::Size:
        return a.sizeVal_ < b.sizeVal_;
    case LogField::Operation:
        return OV::Collation::OfUser().Compare(OV::ToUtf8(a.GetOperationText()),
                                               OV::ToUtf8(b.GetOperationText())) < 0;
    case LogField::Project:
        return IsLess(a.Record().project, b.Record().project);
    }
    return false;
}

/// Groups of three digits from the highest down. Groups of zeros are left out, and the last digits
/// with them when nothing remains: "2 KB" stands for 2000 KB as well. Scripts of users read it so.
OV::UniString LogDataLine::FormatSize(std::uint32_t bytes)
{
    if (bytes == 0)
        return {};
    if (bytes < 1024)
        return u"1 KB";
    std::uint32_t rest = bytes >> 10;
    std::uint32_t divisor = 1000;
    while (rest > 1'000'000 && rest > std::uint64_t(divisor) * 1000)
        divisor *= 1000;
    OV::UniString text;
    for (; rest != 0; divisor /= 1000) {
        const std::uint32_t group = rest / divisor;
        rest %= divisor;
        if (group == 0)
            continue;
        OV::UniString piece = OV::ToText(group) + u' ';
        if (!text.empty() && piece.size() < 4)
            piece.insert(0, 4 - piece.size(), u'0');
        text += piece;
    }
    return text + u"KB";
}

void LogDataLine::AppendRecord(OV::String& bytes) const
{
    SYC::LogRecord record;
    const OV::StringView rest = Rest();
    bytes.append(rest.substr(0, record.Parse(rest) - sizeof(version_)));
    const auto version = static_cast<std::uint16_t>(version_);
    bytes += static_cast<char>(version & 0xFF);
    bytes += static_cast<char>(version >> 8);
}

OV::ChannelStatus LogDataLine::Write(OV::OChannel& channel) const
{
    OV::String bytes;
    AppendRecord(bytes);
    return channel.WriteBytes(std::as_bytes(std::span(bytes.data(), bytes.size())));
}

OV::ChannelStatus LogDataLine::Read(OV::IChannel& channel)
{
    OV::String user, loginName, duration, operation, project, projectId, comment;
    SYC::LogRecord record;
    OV::FieldReader stream(channel);
    for (OV::String* text : {&user, &loginName, &duration, &operation, &project, &projectId})
        stream.Utf8(*text);
    OV::TransferFields(stream, record.sizeVal, record.timeVal);
    stream.Utf8(comment);
    stream(record.version);
    record.user = user;
    record.loginName = loginName;
    record.duration = duration;
    record.operation = operation;
    record.project = project;
    record.projectId = projectId;
    record.comment = comment;
    Adopt(record);
    timeText_ = TimeText::OfNumber;
    return stream.Status();
}
