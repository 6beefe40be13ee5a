#pragma once

#include "Messaging/MailActionDescriptor.hpp"
#include "OVRoot/FieldStream.hpp"

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
        OV::FieldWriter stream(channel);
        stream(static_cast<std::uint32_t>(data_.size()));
        stream.Bytes(std::as_bytes(std::span(data_)));
        return stream.Status();
    }
    OV::ChannelStatus Read(OV::IChannel& channel) override
    {
        OV::FieldReader stream(channel);
        std::uint32_t size = 0;
        stream(size);
        stream.Block(data_, size);
        return stream.Status();
    }
    void GetActionItems(SYC::ClientMail&, OV::Array<Item>&) override {}

private:
    OV::String data_;
};
