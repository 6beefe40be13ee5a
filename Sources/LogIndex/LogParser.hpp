#pragma once

#include "LogIndex/LogIndex.hpp"
#include "OVRoot/Export.hpp"

/// Base of what reads a log: it owns the indexes that ParseLog fills, and a filter. For one thread.
class SYC_API LogParser {
public:
    virtual ~LogParser() = default;
    LogParser(const LogParser&) = default;
    LogParser& operator=(const LogParser&) = default;

    /// Reads every line and fills the indexes anew. Stops when the calling thread is interrupted;
    /// the indexes then hold some of the rows, or none.
    virtual void ParseLog() = 0;
    /// The fields of the next line, or of the next row of `rows`. 0, or OV::ChannelFailed when
    /// there is none.
    virtual int ParseLine(OV::Array<OV::Ref<OV::Object>>& fields,
                          const OV::StableArray<std::uint32_t>* rows) = 0;
    /// The line that is read next; reading by rows begins with the first one again.
    virtual void SetStartLine(const std::uint32_t& line) = 0;
    /// How many lines there are.
    [[nodiscard]] virtual std::uint32_t GetLineCount() const = 0;

    /// Takes the index, which becomes the default one when `makeDefault` is true.
    virtual void AddIndex(LogIndex* index, bool makeDefault);
    /// Only what passes counts from now on; nothing here.
    virtual void SetFilter(OV::UniString) {}
    /// Everything counts again; nothing here.
    virtual void ResetFilter() {}
    /// Releases all indexes.
    virtual void DropIndices();

    /// Null when there are not so many.
    [[nodiscard]] LogIndex* GetIndex(std::uint8_t number) const;
    /// Null when no index was made it.
    [[nodiscard]] LogIndex* GetDefaultIndex() const;

protected:
    LogParser() = default;
    /// In the order in which they were added.
    [[nodiscard]] const OV::Array<OV::Ref<LogIndex>>& Indices() const noexcept { return indices_; }

private:
    OV::Array<OV::Ref<LogIndex>> indices_;
    std::size_t defaultIndex_ = static_cast<std::size_t>(-1);
};
