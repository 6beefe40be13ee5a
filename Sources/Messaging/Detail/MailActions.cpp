#include "Messaging/Detail/MailActions.hpp"

#include "Messaging/MailActionRegistry.hpp"
#include "OVRoot/FieldStream.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <algorithm>
#include <new>

namespace SYC {

namespace {

/// Notes whether its reader asked for more than there was.
class NotingChannel final : public OV::IChannel {
public:
    explicit NotingChannel(OV::IChannel& channel) : channel_(channel) {}
    [[nodiscard]] OV::ChannelStatus ReadBytes(std::span<std::byte> target) override
    {
        const auto status = channel_.ReadBytes(target);
        ranOut_ = ranOut_ || status != OV::ChannelOk;
        return status;
    }
    [[nodiscard]] std::size_t ReadSome(std::span<std::byte> target) override
    {
        const auto size = channel_.ReadSome(target);
        ranOut_ = ranOut_ || size < target.size();
        return size;
    }
    [[nodiscard]] bool RanOut() const noexcept { return ranOut_; }

private:
    OV::IChannel& channel_;
    bool ranOut_ = false;
};

/// An empty holder for an unknown id.
OV::Ref<MailAction> MakeAction(const OV::UniString& id)
{
    const auto* descriptor = MailActionRegistry::GetRegistry().GetActionDescriptor(id);
    return descriptor ? descriptor->GetAction() : nullptr;
}

OV::ChannelStatus WriteAction(const MailAction& action, OV::OChannel& channel)
{
    OV::FieldWriter stream(channel);
    stream(action.GetId());
    stream(action);
    return stream.Status();
}

/// An action is the host's own code: whatever it throws at data that it does not like concerns that
/// one mail.
OV::ChannelStatus ReadData(MailAction& action, OV::IChannel& channel)
{
    try {
        return action.Read(channel);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return OV::ChannelFailed;
    }
}

void ReadAction(ClientMail::ActionList& actions, OV::FieldReader& stream)
{
    OV::UniString id;
    stream(id);
    const auto action = stream.IsGood() ? MakeAction(id) : nullptr;
    if (!action)
        return stream.Fail();
    stream.Then([&](OV::IChannel& channel) { return ReadData(*action, channel); });
    if (stream.IsGood())
        actions.push_back(action);
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

bool AreEqualLists(const OV::Ref<ClientMail::ActionList>& left,
                   const OV::Ref<ClientMail::ActionList>& right)
{
    if (left == right)
        return true;
    static const auto& none = *new ClientMail::ActionList;
    const auto& leftActions = left ? *left : none;
    const auto& rightActions = right ? *right : none;
    return std::equal(leftActions.begin(), leftActions.end(), rightActions.begin(),
                      rightActions.end(), AreEqualActions);
}

}  // namespace

std::uint32_t MailActions::Count(const Carried& actions)
{
    if (actions.unknown)
        return actions.unknown->count;
    return actions.known ? static_cast<std::uint32_t>(actions.known->size()) : 0;
}

OV::ChannelStatus MailActions::Write(const Carried& actions, OV::OChannel& channel)
{
    OV::FieldWriter stream(channel);
    if (actions.unknown)
        stream.Bytes(std::as_bytes(std::span(actions.unknown->bytes)));
    else if (actions.known)
        for (const auto& action : *actions.known)
            stream.Then([&](OV::OChannel& each) { return WriteAction(*action, each); });
    return stream.Status();
}

MailActions::Reading MailActions::Read(Carried& actions, std::uint32_t count, OV::IChannel& channel)
{
    actions = {};
    if (count == 0)
        return {};
    actions.known = OV::MakeRef<ClientMail::ActionList>();
    NotingChannel noting(channel);
    OV::FieldReader stream(noting);
    for (; count > 0 && stream.IsGood(); --count)
        ReadAction(*actions.known, stream);
    return {stream.Status(), !stream.IsGood() && !noting.RanOut()};
}

void MailActions::Keep(Carried& actions, std::uint32_t count, OV::String bytes)
{
    actions = {{},
               std::make_shared<const ClientMail::UnknownActions>(
                   ClientMail::UnknownActions{count, std::move(bytes)})};
}

MailActions::Carried MailActions::Sealed(const Carried& actions)
{
    if (actions.unknown)
        return actions;
    OV::MemoryOChannel bytes;
    if (Write(actions, bytes) != OV::ChannelOk)
        throw OV::ChannelException("A mail cannot be written.");
    Carried sealed;
    Keep(sealed, Count(actions), bytes.TakeBytes());
    return sealed;
}

void MailActions::Serialize(const Carried& actions, OV::OChannelX& channel)
{
    if (actions.unknown)
        throw OV::ChannelException("The mail carries actions that this program does not know.");
    for (std::size_t i = 0; i < Count(actions); ++i) {
        MailAction& action = *(*actions.known)[i];
        OV::OBinaryChannelUtilities::WriteUniStringAsUTF8(channel, action.GetId());
        action.Serialize(channel);
    }
}

void MailActions::Deserialize(Carried& actions, std::uint32_t count, OV::IChannelX& channel)
{
    actions = {OV::MakeRef<ClientMail::ActionList>(), {}};
    for (; count > 0; --count) {
        const auto id = OV::IBinaryChannelUtilities::ReadUniStringFromUTF8(channel);
        const auto action = MakeAction(id);
        if (!action)
            throw OV::ChannelException(u"The mail carries an action of the unknown kind \"" + id +
                                       u"\".");
        action->Deserialize(channel);
        actions.known->push_back(action);
    }
}

bool MailActions::AreEqual(const Carried& left, const Carried& right)
{
    const bool isUnknownEqual = left.unknown == right.unknown ||
                                (left.unknown && right.unknown && *left.unknown == *right.unknown);
    return isUnknownEqual && AreEqualLists(left.known, right.known);
}

}  // namespace SYC
