#include "Messaging/Detail/MailActions.hpp"

#include "Messaging/MailActionRegistry.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <algorithm>

namespace SYC {

using List = OV::Ref<ClientMail::ActionList>;

namespace {

/// An empty holder for an unknown id.
OV::Ref<MailAction> MakeAction(const OV::UniString& id)
{
    const auto* descriptor = MailActionRegistry::GetRegistry().GetActionDescriptor(id);
    return descriptor ? descriptor->GetAction() : nullptr;
}

OV::ChannelStatus WriteAction(const MailAction& action, OV::OChannel& channel)
{
    const auto status = channel.Write(action.GetId());
    return status == OV::ChannelOk ? action.Write(channel) : status;
}

OV::ChannelStatus ReadAction(ClientMail::ActionList& actions, OV::IChannel& channel)
{
    OV::UniString id;
    if (const auto status = channel.Read(id); status != OV::ChannelOk)
        return status;
    const auto action = MakeAction(id);
    if (!action)
        return OV::ChannelFailed;
    if (const auto status = action->Read(channel); status != OV::ChannelOk)
        return status;
    actions.push_back(action);
    return OV::ChannelOk;
}

bool AreEqualActions(const OV::Ref<MailAction>& left, const OV::Ref<MailAction>& right)
{
    if (left == right)
        return true;
    if (!left || !right)
        return false;
    OV::MemoryOChannel leftData;
    OV::MemoryOChannel rightData;
    return WriteAction(*left, leftData) == OV::ChannelOk &&
           WriteAction(*right, rightData) == OV::ChannelOk && leftData.Bytes() == rightData.Bytes();
}

}  // namespace

std::uint32_t MailActions::Count(const List& actions)
{
    return actions ? static_cast<std::uint32_t>(actions->size()) : 0;
}

OV::ChannelStatus MailActions::Write(const List& actions, OV::OChannel& channel)
{
    OV::ChannelStatus status = OV::ChannelOk;
    for (std::size_t i = 0; i < Count(actions) && status == OV::ChannelOk; ++i)
        status = WriteAction(*(*actions)[i], channel);
    return status;
}

OV::ChannelStatus MailActions::Read(List& actions, std::uint32_t count, OV::IChannel& channel)
{
    actions.Reset();
    if (count == 0)
        return OV::ChannelOk;
    actions = OV::MakeRef<ClientMail::ActionList>();
    OV::ChannelStatus status = OV::ChannelOk;
    for (; count > 0 && status == OV::ChannelOk; --count)
        status = ReadAction(*actions, channel);
    return status;
}

void MailActions::Serialize(const List& actions, OV::OChannelX& channel)
{
    for (std::size_t i = 0; i < Count(actions); ++i) {
        MailAction& action = *(*actions)[i];
        OV::OBinaryChannelUtilities::WriteUniStringAsUTF8(channel, action.GetId());
        action.Serialize(channel);
    }
}

void MailActions::Deserialize(List& actions, std::uint32_t count, OV::IChannelX& channel)
{
    actions = OV::MakeRef<ClientMail::ActionList>();
    for (; count > 0; --count) {
        const auto id = OV::IBinaryChannelUtilities::ReadUniStringFromUTF8(channel);
        const auto action = MakeAction(id);
        if (!action)
            throw OV::ChannelException(u"The mail carries an action of the unknown kind \"" + id +
                                       u"\".");
        action->Deserialize(channel);
        actions->push_back(action);
    }
}

bool MailActions::AreEqual(const List& left, const List& right)
{
    if (left == right)
        return true;
    static const ClientMail::ActionList none;
    const auto& leftActions = left ? *left : none;
    const auto& rightActions = right ? *right : none;
    return std::equal(leftActions.begin(), leftActions.end(), rightActions.begin(),
                      rightActions.end(), AreEqualActions);
}

}  // namespace SYC
