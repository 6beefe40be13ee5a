#include "OVRoot/ClassFrame.hpp"

namespace OV {

OutputClassFrame::OutputClassFrame(OChannel& channel, const ClassInfo& info)
    : status_(channel.Write(info.name)), mainVersion_(info.mainVersion)
{
    if (status_ == ChannelOk)
        status_ = channel.Write(info.mainVersion);
    if (status_ == ChannelOk)
        status_ = channel.Write(info.subVersion);
}

InputClassFrame::InputClassFrame(IChannel& channel, const ClassInfo& expected)
{
    UniString name;
    status_ = channel.Read(name);
    if (status_ == ChannelOk && name != expected.name)
        status_ = ChannelFailed;
    if (status_ == ChannelOk)
        status_ = channel.Read(mainVersion_);
    if (status_ == ChannelOk)
        status_ = channel.Read(subVersion_);
}

}  // namespace OV
