#include "LogLine/Detail/LogBlockWriter.hpp"

#include "LogLine/Detail/PackedText.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/LargeMemory.hpp"

#include <algorithm>

namespace SYC::Detail {

namespace {

/// A block that is begun before it is known how much it will hold wastes little of so few bytes.
constexpr std::size_t UsualBytes = std::size_t{64} << 10;
constexpr std::size_t LargeBytes = OV::LargeMemory::Piece - sizeof(LogBlock);
constexpr std::size_t MostBytesOfCount = 5;

}  // namespace

void LogBlockWriter::Open(std::size_t least)
{
    Close();
    // Of lines that come although none were expected, more are to be expected.
    expected_ = std::max(expected_, capacity_ / 8);
    // What is expected is the size of a file or page, most of which are texts.
    const bool isLarge = expected_ >= OV::LargeMemory::Piece && least <= LargeBytes;
    const std::size_t capacity =
        isLarge ? LargeBytes : std::max(least, std::min(expected_, UsualBytes));
    // Each line takes a byte and more, and the writer keeps the block while it fills it.
    const std::size_t keepers = capacity + 1;
    block_ = isLarge ? LogBlock::MakeLarge(keepers) : LogBlock::Make(capacity, keepers);
    spareKeepers_ = keepers;
    capacity_ = capacity;
    used_ = 0;
    expected_ -= std::min(expected_, capacity);
    project_ = projectId_ = {};
    projectPlace_ = 0;
}

void LogBlockWriter::Close() noexcept
{
    if (block_ != nullptr)
        LogBlock::LetGo(std::exchange(block_, nullptr), spareKeepers_);
}

std::uint32_t LogBlockWriter::PlaceOfProject(const LogRecord& record)
{
    if (used_ != 0 && record.project == project_ && record.projectId == projectId_)
        return projectPlace_;
    projectPlace_ = static_cast<std::uint32_t>(used_);
    char* const begin = block_->Bytes() + used_;
    char* const end = PackedText::Write(PackedText::Write(begin, record.project), record.projectId);
    const char* at = begin;
    project_ = PackedText::ReadText(at);
    projectId_ = PackedText::ReadText(at);
    used_ += static_cast<std::size_t>(end - begin);
    return projectPlace_;
}

LogBlock::Texts LogBlockWriter::Add(const LogRecord& record, const OV::StringView* time)
{
    const OV::StringView texts[] = {record.user, record.loginName, record.duration,
                                    record.operation, record.comment};
    std::size_t size = time == nullptr ? 0 : PackedText::SizeOf(*time);
    for (const OV::StringView text : texts)
        size += PackedText::SizeOf(text);
    const std::size_t sizeOfProject =
        PackedText::SizeOf(record.project) + PackedText::SizeOf(record.projectId);
    if (record.Size() > MostBytesOfLine || size > MostBytesOfLine)
        throw OV::IllegalArgumentException("A line of a log is longer than 1 GiB.");
    if (block_ == nullptr || capacity_ - used_ < size + sizeOfProject + MostBytesOfCount)
        Open(size + sizeOfProject + 1);  // the count of a place at the beginning takes one byte
    const std::uint32_t project = PlaceOfProject(record);
    const auto place = static_cast<std::uint32_t>(used_);
    char* at = PackedText::Write(block_->Bytes() + used_, project);
    for (const OV::StringView text : texts)
        at = PackedText::Write(at, text);
    if (time != nullptr)
        at = PackedText::Write(at, *time);
    used_ = static_cast<std::size_t>(at - block_->Bytes());
    --spareKeepers_;
    return {LogBlock::Keeper(*block_), place};
}

}  // namespace SYC::Detail
