#include "LogLine/LogBlock.hpp"

#include "LogLine/Detail/PackedText.hpp"
#include "OVRoot/LargeMemory.hpp"

#include <new>

namespace SYC {

namespace PackedText = Detail::PackedText;

LogBlock* LogBlock::Make(std::size_t bytes, std::size_t keepers)
{
    return new (::operator new(sizeof(LogBlock) + bytes)) LogBlock(keepers, false);
}

LogBlock* LogBlock::MakeLarge(std::size_t keepers)
{
    return new (OV::LargeMemory::Take()) LogBlock(keepers, true);
}

void LogBlock::Destroy(LogBlock* block) noexcept
{
    const bool isLarge = block->isLarge_;
    block->~LogBlock();
    if (isLarge)
        OV::LargeMemory::GiveBack(block);
    else
        ::operator delete(block);
}

LogRecord LogBlock::TextsAt(std::uint32_t place) const noexcept
{
    const char* at = Bytes() + place;
    const char* project = Bytes() + PackedText::ReadCount(at);
    LogRecord record;
    for (OV::StringView* text :
         {&record.user, &record.loginName, &record.duration, &record.operation, &record.comment})
        *text = PackedText::ReadText(at);
    record.project = PackedText::ReadText(project);
    record.projectId = PackedText::ReadText(project);
    return record;
}

OV::StringView LogBlock::ProjectIdAt(std::uint32_t place) const noexcept
{
    const char* at = Bytes() + place;
    const char* project = Bytes() + PackedText::ReadCount(at);
    (void)PackedText::ReadText(project);
    return PackedText::ReadText(project);
}

OV::StringView LogBlock::TimeAt(std::uint32_t place) const noexcept
{
    const OV::StringView last = TextsAt(place).comment;
    const char* at = last.data() + last.size();
    return PackedText::ReadText(at);
}

}  // namespace SYC
