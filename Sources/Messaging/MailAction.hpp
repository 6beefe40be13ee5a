#pragma once

#include "OVRoot/Channel.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

class ClientMail;

/// Something that a mail carries and its reader can carry out. A kind is known by its id, under
/// which a MailActionDescriptor makes empty actions that fill themselves from stored data. One
/// thread at a time.
class SYC_API MailAction {
public:
    virtual ~MailAction() = default;

    /// The compact form. Failures throw OV::ChannelException.
    virtual void Serialize(OV::OChannelX& channel) = 0;
    /// Fills this from what Serialize wrote. Throws OV::ChannelException.
    virtual void Deserialize(OV::IChannelX& channel) = 0;
    /// The form of files and of server messages. Two actions of one kind count as equal when this
    /// form of them is.
    [[nodiscard]] virtual OV::ChannelStatus Write(OV::OChannel& channel) const = 0;
    /// Fills this from what Write wrote; 0, or the error at which reading stopped.
    [[nodiscard]] virtual OV::ChannelStatus Read(OV::IChannel& channel) = 0;

    /// A label to show and the task to run when the user picks it.
    using Item = OV::Pair<OV::UniString, OV::RunnableTask>;
    /// Appends what the user can choose for this action of `mail`; nothing when there is no choice.
    virtual void GetActionItems(ClientMail& mail, OV::Array<Item>& items) = 0;

    /// Of the kind.
    [[nodiscard]] const OV::UniString& GetId() const noexcept { return id_; }

protected:
    /// `id` is that of the kind.
    explicit MailAction(OV::UniString id) : id_(std::move(id)) {}
    MailAction(const MailAction&) = default;
    MailAction& operator=(const MailAction&) = default;

private:
    OV::UniString id_;
};

}  // namespace SYC
