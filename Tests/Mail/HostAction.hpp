#pragma once

#include "Messaging/MailActionDescriptor.hpp"

/// A kind of action that a host brings and other processes do not know: any bytes.
class HostAction final : public SYC::MailAction {
public:
    static constexpr const char16_t* Id = u"Host";

    explicit HostAction(OV::String data = {}) : MailAction(Id), data_(std::move(data)) {}
    static OV::Ref<MailAction> Make() { return OV::MakeRef<HostAction>(); }

    void Serialize(OV::OChannelX&) override {}
    void Deserialize(OV::IChannelX&) override {}
    OV::ChannelStatus Write(OV::OChannel& channel) const override
    {
        const auto status = channel.Write(static_cast<std::uint32_t>(data_.size()));
        return status == OV::ChannelOk ? channel.WriteBytes(std::as_bytes(std::span(data_)))
                                       : status;
    }
    OV::ChannelStatus Read(OV::IChannel& channel) override
    {
        std::uint32_t size = 0;
        const auto status = channel.Read(size);
        return status == OV::ChannelOk ? channel.ReadBlock(data_, size) : status;
    }
    void GetActionItems(SYC::ClientMail&, OV::Array<Item>&) override {}

private:
    OV::String data_;
};
