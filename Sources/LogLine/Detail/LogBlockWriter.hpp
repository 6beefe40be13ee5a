#pragma once

#include "LogLine/LogBlock.hpp"

namespace SYC::Detail {

/// Puts the texts of lines together in blocks.
class LogBlockWriter {
public:
    /// A line may have as many bytes of texts.
    static constexpr std::size_t MostBytesOfLine = std::size_t{1} << 30;

    /// About `expected` bytes of texts will come; memory is taken by it, block by block.
    explicit LogBlockWriter(std::size_t expected = 0) noexcept : expected_(expected) {}
    ~LogBlockWriter() { Close(); }
    LogBlockWriter(const LogBlockWriter&) = delete;
    LogBlockWriter& operator=(const LogBlockWriter&) = delete;

    /// The texts of a record, with `time` behind them, unless it is null. Throws
    /// OV::IllegalArgumentException for a line that is too long.
    [[nodiscard]] LogBlock::Texts Add(const LogRecord& record,
                                      const OV::StringView* time = nullptr);

private:
    /// Begins a block that takes at least so many bytes.
    void Open(std::size_t least);
    void Close() noexcept;
    /// Where the project's name and id stand.
    [[nodiscard]] std::uint32_t PlaceOfProject(const LogRecord& record);

    LogBlock* block_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t used_ = 0;
    /// The keepers that the block counts already, for lines that are still to come.
    std::size_t spareKeepers_ = 0;
    std::size_t expected_;
    /// The last project, and where it stands in the block.
    OV::StringView project_, projectId_;
    std::uint32_t projectPlace_ = 0;
};

}  // namespace SYC::Detail
