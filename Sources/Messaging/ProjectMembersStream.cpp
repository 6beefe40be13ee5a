#include "Messaging/ProjectMembers.hpp"

namespace SYC {

namespace {

using OV::ChannelOk;
using OV::ChannelStatus;

ChannelStatus WriteAttributes(const SYCB::UserAttributes& attributes, OV::OChannel& channel)
{
    auto status = OV::WriteInOrder(channel, attributes.roleName,
                                   static_cast<std::uint32_t>(attributes.permissions.size()));
    for (const auto& permission : attributes.permissions)
        if (status == ChannelOk)
            status = channel.Write(permission);
    return status;
}

ChannelStatus ReadAttributes(SYCB::UserAttributes& attributes, OV::IChannel& channel)
{
    std::uint32_t count = 0;
    auto status = OV::ReadInOrder(channel, attributes.roleName, count);
    for (; count > 0 && status == ChannelOk; --count)
        if (OV::UniString permission; (status = channel.Read(permission)) == ChannelOk)
            attributes.permissions.insert(std::move(permission));
    return status;
}

ChannelStatus WriteMember(ProjectMembers::MemberId id, const UserData& user,
                          const SYCB::UserAttributes& attributes, OV::OChannel& channel)
{
    auto status = channel.Write(id);
    if (status == ChannelOk)
        status = user.Write(channel);
    return status == ChannelOk ? WriteAttributes(attributes, channel) : status;
}

ChannelStatus ReadMember(ProjectMember& member, OV::IChannel& channel)
{
    auto status = channel.Read(member.id);
    if (status == ChannelOk)
        status = member.data.Read(channel);
    return status == ChannelOk ? ReadAttributes(member.attributes, channel) : status;
}

}  // namespace

ChannelStatus ProjectMembers::Write(OV::OChannel& channel) const
{
    const OV::OutputClassFrame frame(channel, ClassInformation);
    auto status = frame.Status();
    if (status == ChannelOk)
        status = channel.Write(static_cast<std::uint32_t>(users_.size()));
    for (const auto& [id, user] : users_) {
        const auto attributes = permissions_.find(id);
        if (status == ChannelOk)
            status = WriteMember(id, user,
                                 attributes == permissions_.end() ? SYCB::UserAttributes()
                                                                  : attributes->second,
                                 channel);
    }
    return status;
}

ChannelStatus ProjectMembers::Read(OV::IChannel& channel)
{
    const OV::InputClassFrame frame(channel, ClassInformation);
    if (frame.Status() != ChannelOk)
        return frame.Status();
    if (frame.MainVersion() != 1)
        return OV::ChannelFailed;
    std::uint32_t count = 0;
    auto status = channel.Read(count);
    OV::Array<ProjectMember> members;
    for (; count > 0 && status == ChannelOk; --count) {
        ProjectMember member;
        status = ReadMember(member, channel);
        if (status == ChannelOk)
            members.push_back(std::move(member));
    }
    if (status == ChannelOk)
        RefreshProjectMembers(members, std::nullopt);
    return status;
}

ChannelStatus ProjectMembers::WritePhotos(OV::OChannel& channel) const
{
    auto status = channel.Write(static_cast<std::uint32_t>(users_.size()));
    for (const auto& [id, user] : users_) {
        if (status == ChannelOk)
            status = channel.Write(id);
        if (status == ChannelOk)
            status = user.WritePhoto(channel);
    }
    return status;
}

ChannelStatus ProjectMembers::ReadPhotos(OV::IChannel& channel)
{
    std::uint32_t count = 0;
    auto status = channel.Read(count);
    for (; count > 0 && status == ChannelOk; --count) {
        MemberId id = 0;
        status = channel.Read(id);
        if (status != ChannelOk)
            break;
        UserData nobody;
        const auto known = users_.find(id);
        (known == users_.end() ? nobody : known->second).ReadPhoto(channel);
    }
    return status;
}

}  // namespace SYC
