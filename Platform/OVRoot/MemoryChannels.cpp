#include "OVRoot/MemoryChannels.hpp"

#include <algorithm>
#include <cstring>

namespace OV {

namespace {

bool Take(StringView& rest, std::span<std::byte> target)
{
    if (rest.size() < target.size())
        return false;
    if (!target.empty())
        std::memcpy(target.data(), rest.data(), target.size());
    rest.remove_prefix(target.size());
    return true;
}

void Append(String& bytes, std::span<const std::byte> source)
{
    bytes.append(reinterpret_cast<const char*>(source.data()), source.size());
}

}  // namespace

std::size_t MemoryIChannel::ReadSome(std::span<std::byte> target)
{
    const auto piece = target.first(std::min(target.size(), rest_.size()));
    (void)Take(rest_, piece);
    return piece.size();
}

ChannelStatus MemoryIChannel::ReadBytes(std::span<std::byte> target)
{
    return Take(rest_, target) ? ChannelOk : ChannelFailed;
}

ChannelStatus MemoryOChannel::WriteBytes(std::span<const std::byte> source)
{
    Append(bytes_, source);
    return ChannelOk;
}

void MemoryIChannelX::ReadBytes(std::span<std::byte> target)
{
    if (!Take(rest_, target))
        throw ChannelException("The record ends before its data.");
}

void MemoryOChannelX::WriteBytes(std::span<const std::byte> source)
{
    Append(bytes_, source);
}

}  // namespace OV
