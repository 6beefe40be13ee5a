#pragma once

#include "LogLine/LogRecord.hpp"
#include "OVRoot/Export.hpp"

#include <atomic>
#include <cstddef>
#include <utility>

namespace SYC {

namespace Detail {
class LogBlockWriter;
}

/// The texts of log lines, one line after the other in one piece of memory; what the lines of a
/// project have in common, its name and its id, stands there once. It lives as long as anybody
/// keeps it, and nobody changes what a line has in it.
class SYC_API LogBlock {
public:
    LogBlock(const LogBlock&) = delete;
    LogBlock& operator=(const LogBlock&) = delete;

    /// One that keeps a block, or none.
    class Keeper {
    public:
        Keeper() noexcept = default;
        /// Whoever has one keeps the block.
        /// @{
        Keeper(const Keeper& other) noexcept : block_(other.block_)
        {
            if (block_ != nullptr)
                block_->keepers_.fetch_add(1, std::memory_order_relaxed);
        }
        Keeper(Keeper&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
        Keeper& operator=(Keeper other) noexcept
        {
            std::swap(block_, other.block_);
            return *this;
        }
        /// @}
        ~Keeper()
        {
            if (block_ != nullptr)
                LetGo(block_, 1);
        }
        /// Whether there is a block.
        [[nodiscard]] explicit operator bool() const noexcept { return block_ != nullptr; }
        /// The block; there must be one.
        [[nodiscard]] const LogBlock* operator->() const noexcept { return block_; }

    private:
        friend class Detail::LogBlockWriter;
        /// Takes the place of one that the block counts already.
        explicit Keeper(LogBlock& block) noexcept : block_(&block) {}

        LogBlock* block_ = nullptr;
    };

    /// Where the texts of a line stand.
    struct Texts {
        Keeper block;         ///< that they stand in
        std::uint32_t place;  ///< where the line begins in it
    };
    /// The texts of the line at `place`, without its numbers.
    [[nodiscard]] LogRecord TextsAt(std::uint32_t place) const noexcept;
    /// The id of its project alone.
    [[nodiscard]] OV::StringView ProjectIdAt(std::uint32_t place) const noexcept;
    /// The text that stands behind those of a line that has one more: its time.
    [[nodiscard]] OV::StringView TimeAt(std::uint32_t place) const noexcept;

private:
    friend class Detail::LogBlockWriter;
    LogBlock(std::size_t keepers, bool isLarge) noexcept : keepers_(keepers), isLarge_(isLarge) {}
    ~LogBlock() = default;
    [[nodiscard]] static LogBlock* Make(std::size_t bytes, std::size_t keepers);
    /// One that takes all that a piece of large memory has room for.
    [[nodiscard]] static LogBlock* MakeLarge(std::size_t keepers);
    /// The block is gone when nobody else keeps it.
    static void LetGo(LogBlock* block, std::size_t keepers) noexcept
    {
        if (block->keepers_.fetch_sub(keepers, std::memory_order_acq_rel) == keepers)
            Destroy(block);
    }
    static void Destroy(LogBlock* block) noexcept;
    [[nodiscard]] char* Bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
    [[nodiscard]] const char* Bytes() const noexcept
    {
        return reinterpret_cast<const char*>(this + 1);
    }

    std::atomic<std::size_t> keepers_;
    const bool isLarge_;
};

}  // namespace SYC
