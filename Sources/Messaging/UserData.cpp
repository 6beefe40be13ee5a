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
    const auto status =
        OV::ReadInOrder(channel, loginName_, fullName_, guid, color_, normalSession_);
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
    return frame.Status() == ChannelOk ? OV::WriteInOrder(channel, loginName_, fullName_,
                                                          guid_.ToText(), color_, normalSession_)
                                       : frame.Status();
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
