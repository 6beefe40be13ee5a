#include "Messaging/DummyAction.hpp"

namespace SYC {

OV::Ref<MailAction> DummyAction::Make()
{
    return OV::MakeRef<DummyAction>();
}

void DummyAction::Serialize(OV::OChannelX& channel)
{
    OV::OBinaryChannelUtilities::WriteUniStringAsUTF8(channel, data_);
}

void DummyAction::Deserialize(OV::IChannelX& channel)
{
    data_ = OV::IBinaryChannelUtilities::ReadUniStringFromUTF8(channel);
}

OV::ChannelStatus DummyAction::Write(OV::OChannel& channel) const
{
    const OV::FieldWriter frame(channel, ClassInformation);
    return frame.IsGood() ? WriteVersion1(channel) : frame.Status();
}

OV::ChannelStatus DummyAction::Read(OV::IChannel& channel)
{
    const OV::FieldReader frame(channel, ClassInformation);
    return frame.IsGood() ? ReadVersion1(channel) : frame.Status();
}

OV::ChannelStatus DummyAction::WriteVersion1(OV::OChannel& channel) const
{
    return channel.Write(data_);
}

OV::ChannelStatus DummyAction::ReadVersion1(OV::IChannel& channel)
{
    return channel.Read(data_);
}

void DummyAction::GetActionItems(ClientMail&, OV::Array<Item>&) {}

}  // namespace SYC
