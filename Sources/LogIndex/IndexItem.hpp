#pragma once

#include "OVRoot/Channel.hpp"
#include "OVRoot/Export.hpp"

#include <cstdint>

/// An element of a LogIndex: it stands for one row of a log.
class SYC_API IndexItem {
public:
    /// `position` is the number of the row.
    explicit IndexItem(std::uint32_t position = 0) noexcept : position_(position) {}
    virtual ~IndexItem() = default;

    /// Negative when this one sorts before `other`, 0 when neither sorts before the other, positive
    /// when it sorts behind. An item without a value has no order: 1 for itself, 0 for all others.
    [[nodiscard]] virtual int Compare(IndexItem* other) const { return this == other ? 1 : 0; }
    /// 0, or OV::ChannelFailed.
    [[nodiscard]] virtual int Write(OV::OChannel& channel) { return channel.Write(position_); }
    /// 0, or OV::ChannelFailed.
    [[nodiscard]] virtual int Read(OV::IChannel& channel) { return channel.Read(position_); }
    /// The number of the row.
    [[nodiscard]] virtual std::uint32_t GetPosition() const { return position_; }
    /// As GetPosition.
    [[nodiscard]] std::uint32_t operator()() const { return GetPosition(); }

private:
    std::uint32_t position_;
};
