#include "Messaging/UserData.hpp"

#include "Messaging/PhotoStream.hpp"

namespace SYC {

OV::ChannelStatus UserData::Read(OV::IChannel& channel)
{
    OV::FieldReader stream(channel, ClassInformation);
    Transfer(*this, stream);
    return stream.Status();
}

OV::ChannelStatus UserData::Write(OV::OChannel& channel) const
{
    OV::FieldWriter stream(channel, ClassInformation);
    Transfer(*this, stream);
    return stream.Status();
}

OV::ChannelStatus UserData::ReadPhoto(OV::IChannel& channel)
{
    return SYC::ReadPhoto(channel, image_);
}

OV::ChannelStatus UserData::WritePhoto(OV::OChannel& channel) const
{
    return SYC::WritePhoto(channel, image_);
}

}  // namespace SYC
