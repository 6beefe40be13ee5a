#include "Messaging/UserData.hpp"

#include "Messaging/PhotoStream.hpp"

namespace SYC {

using OV::ChannelOk;
using OV::ChannelStatus;

ChannelStatus UserData::Read(OV::IChannel& channel)
{
    const OV::InputClassFrame frame(channel, ClassInformation);
    if (frame.Status() != ChannelOk)
        return frame.Status();
    if (frame.MainVersion() != 1)
        return OV::ChannelFailed;
    OV::UniString guid;
    auto status = channel.Read(loginName_);
    if (status == ChannelOk)
        status = channel.Read(fullName_);
    if (status == ChannelOk)
        status = channel.Read(guid);
    if (status == ChannelOk)
        status = channel.Read(color_);
    if (status == ChannelOk)
        status = channel.Read(normalSession_);
    if (status != ChannelOk)
        return status;
    try {
        guid_ = OV::Guid::Parse(guid);
        return ChannelOk;
    } catch (const OV::IllegalArgumentException&) {
        return OV::ChannelFailed;
    }
}

ChannelStatus UserData::Write(OV::OChannel& channel) const
{
    const OV::OutputClassFrame frame(channel, ClassInformation);
    auto status = frame.Status();
    if (status == ChannelOk)
        status = channel.Write(loginName_);
    if (status == ChannelOk)
        status = channel.Write(fullName_);
    if (status == ChannelOk)
        status = channel.Write(guid_.ToText());
    if (status == ChannelOk)
        status = channel.Write(color_);
    return status == ChannelOk ? channel.Write(normalSession_) : status;
}

ChannelStatus UserData::ReadPhoto(OV::IChannel& channel)
{
    return SYC::ReadPhoto(channel, image_);
}

ChannelStatus UserData::WritePhoto(OV::OChannel& channel) const
{
    return SYC::WritePhoto(channel, image_);
}

}  // namespace SYC
