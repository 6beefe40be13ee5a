#include "LogDataLine.hpp"

#include "Display/ImageCoding.hpp"
#include "Files/Detail/ReadDecimal.hpp"
#include "LogLine/ActionNameTranslator.hpp"
#include "LogLine/Detail/LogBlockWriter.hpp"
#include "ManagementTool/UserUtils.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Collation.hpp"
#include "OVRoot/FieldStream.hpp"
#include "OVRoot/LocalTime.hpp"
#include "OVRoot/Resources.hpp"

#include <algorithm>
#include <atomic>
#include <utility>

namespace {

std::uint64_t NextId() noexcept
{
    static std::atomic<std::uint64_t> next{0};
    return next.fetch_add(1, std::memory_order_relaxed);
}

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
    : block_(std::move(other.block_)), id_(other.id_), place_(other.place_),
      sizeVal_(std::exchange(other.sizeVal_, 0)), timeVal_(std::exchange(other.timeVal_, 0)),
      version_(other.version_), timeText_(std::exchange(other.timeText_, TimeText::None))
{}

LogDataLine::LogDataLine(SYC::LogBlock::Texts texts, const SYC::LogRecord& record,
                         bool hasOwnTime) noexcept
    : block_(std::move(texts.block)), id_(NextId()), place_(texts.place), sizeVal_(record.sizeVal),
      timeVal_(record.timeVal), version_(record.version),
      timeText_(hasOwnTime ? TimeText::Own : TimeText::OfNumber)
{}

LogDataLine& LogDataLine::operator=(const LogDataLine& other) noexcept
{
    if (this != &other)
        *this = LogDataLine(other);
    return *this;
}

LogDataLine& LogDataLine::operator=(LogDataLine&& other) noexcept
{
    std::swap(block_, other.block_);
    std::swap(id_, other.id_);
    std::swap(place_, other.place_);
    std::swap(sizeVal_, other.sizeVal_);
    std::swap(timeVal_, other.timeVal_);
    std::swap(timeText_, other.timeText_);
    return *this;
}

SYC::LogRecord LogDataLine::Record() const noexcept
{
    SYC::LogRecord record = block_ ? block_->TextsAt(place_) : SYC::LogRecord();
    record.sizeVal = sizeVal_;
    record.timeVal = timeVal_;
    record.version = version_;
    return record;
}

OV::StringView LogDataLine::OwnTime() const noexcept
{
    return timeText_ == TimeText::Own ? block_->TimeAt(place_) : OV::StringView();
}

void LogDataLine::Adopt(const SYC::LogRecord& record, TimeText timeText, OV::StringView ownTime)
{
    auto texts =
        SYC::Detail::LogBlockWriter().Add(record, timeText == TimeText::Own ? &ownTime : nullptr);
    block_ = std::move(texts.block);
    place_ = texts.place;
    sizeVal_ = record.sizeVal;
    timeVal_ = record.timeVal;
    version_ = record.version;
    timeText_ = timeText;
}

void LogDataLine::Set(OV::StringView SYC::LogRecord::*member, OV::UniStringView text)
{
    const OV::String utf8 = OV::ToUtf8(text);
    SYC::LogRecord record = Record();
    record.*member = utf8;
    Adopt(record, timeText_, OwnTime());
}

bool operator==(const LogDataLine& left, const LogDataLine& right)
{
    return left.Record() == right.Record() && left.GetTime() == right.GetTime();
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
    Adopt(record, TimeText::Own, OV::ToUtf8(time));
}

void LogDataLine::SetSize(OV::UniStringView size)
{
    SYC::LogRecord record = Record();
    if (const auto bytes = SYC::Detail::ReadDecimal(size))
        record.sizeVal = SYC::Detail::Bytes32(*bytes);
    Adopt(record, timeText_, OwnTime());
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
    Adopt(record, TimeText::OfNumber);
    return stream.Status();
}
