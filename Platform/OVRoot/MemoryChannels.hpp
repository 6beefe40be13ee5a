#pragma once

#include "OVRoot/Channel.hpp"
#include "OVRoot/Export.hpp"

namespace OV {

/// Reads from bytes that the caller keeps alive.
class SYC_API MemoryIChannel final : public IChannel {
public:
    /// From the first byte on.
    explicit MemoryIChannel(StringView bytes) : rest_(bytes) {}
    [[nodiscard]] ChannelStatus ReadBytes(std::span<std::byte> target) override;
    [[nodiscard]] std::size_t ReadSome(std::span<std::byte> target) override;
    /// What was not read yet.
    [[nodiscard]] StringView Rest() const noexcept { return rest_; }

private:
    StringView rest_;
};

/// Collects bytes.
class SYC_API MemoryOChannel final : public OChannel {
public:
    /// Makes room for `size` bytes in all, for a writer that knows how many come.
    void Reserve(std::size_t size) { bytes_.reserve(size); }
    /// Never fails but for want of memory.
    [[nodiscard]] ChannelStatus WriteBytes(std::span<const std::byte> source) override;
    /// What was written so far; valid until more is.
    [[nodiscard]] const String& Bytes() const noexcept { return bytes_; }
    /// The same, handed over; the channel is empty then.
    [[nodiscard]] String TakeBytes() noexcept { return std::move(bytes_); }

private:
    String bytes_;
};

/// The same two with exceptions.
class SYC_API MemoryIChannelX final : public IChannelX {
public:
    /// From the first byte on.
    explicit MemoryIChannelX(StringView bytes) : rest_(bytes) {}
    /// Throws ChannelException when too little is left.
    void ReadBytes(std::span<std::byte> target) override;
    [[nodiscard]] bool AtEnd() override { return rest_.empty(); }
    /// What was not read yet.
    [[nodiscard]] StringView Rest() const noexcept { return rest_; }

private:
    StringView rest_;
};

/// Collects bytes.
class SYC_API MemoryOChannelX final : public OChannelX {
public:
    /// Never fails but for want of memory.
    void WriteBytes(std::span<const std::byte> source) override;
    /// What was written so far; valid until more is.
    [[nodiscard]] const String& Bytes() const noexcept { return bytes_; }
    /// The same, handed over; the channel is empty then.
    [[nodiscard]] String TakeBytes() noexcept { return std::move(bytes_); }

private:
    String bytes_;
};

}  // namespace OV
