#include "LogIndex/LogParser.hpp"

void LogParser::AddIndex(LogIndex* index, bool makeDefault)
{
    indices_.emplace_back(std::shared_ptr<LogIndex>(index));
    if (makeDefault)
        defaultIndex_ = indices_.size() - 1;
}

void LogParser::DropIndices()
{
    indices_.clear();
    defaultIndex_ = static_cast<std::size_t>(-1);
}

LogIndex* LogParser::GetIndex(std::uint8_t number) const
{
    return number < indices_.size() ? indices_[number].Get() : nullptr;
}

LogIndex* LogParser::GetDefaultIndex() const
{
    return defaultIndex_ < indices_.size() ? indices_[defaultIndex_].Get() : nullptr;
}
