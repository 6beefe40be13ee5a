#pragma once

#include "OVRoot/Channel.hpp"
#include "OVRoot/Export.hpp"

namespace OV {

/// Reads from bytes that the caller keeps alive.
class SYC_API MemoryIChannel final : public IChannel {
public:
    explicit MemoryIChannel(StringView bytes) : rest_(bytes) {}
    [[nodiscard]] ChannelStatus ReadBytes(std::span<std::byte> target) override;
    [[nodiscard]] std::size_t ReadSome(std::span<std::byte> target) override;
    [[nodiscard]] StringView Rest() const noexcept { return rest_; }

private:
    StringView rest_;
};

/// Collects bytes.
class SYC_API MemoryOChannel final : public OChannel {
public:
    /// Makes room for `size` bytes in all, for a writer that knows how many come.
    void Reserve(std::size_t size) { bytes_.reserve(size); }
    [[nodiscard]] ChannelStatus WriteBytes(std::span<const std::byte> source) override;
    [[nodiscard]] const String& Bytes() const noexcept { return bytes_; }
    [[nodiscard]] String TakeBytes() noexcept { return std::move(bytes_); }

private:
    String bytes_;
};

/// The same two with exceptions.
class SYC_API MemoryIChannelX final : public IChannelX {
public:
    explicit MemoryIChannelX(StringView bytes) : rest_(bytes) {}
    void ReadBytes(std::span<std::byte> target) override;
    [[nodiscard]] bool AtEnd() override { return rest_.empty(); }
    [[nodiscard]] StringView Rest() const noexcept { return rest_; }

private:
    StringView rest_;
};

class SYC_API MemoryOChannelX final : public OChannelX {
public:
    void WriteBytes(std::span<const std::byte> source) override;
    [[nodiscard]] const String& Bytes() const noexcept { return bytes_; }
    [[nodiscard]] String TakeBytes() noexcept { return std::move(bytes_); }

private:
    String bytes_;
};

}  // namespace OV
