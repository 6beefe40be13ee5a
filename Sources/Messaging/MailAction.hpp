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
    virtual void Deserialize(OV::IChannelX& channel) = 0;
    /// The form of files and of server messages. Two actions of one kind count as equal when this
    /// form of them is.
    [[nodiscard]] virtual OV::ChannelStatus Write(OV::OChannel& channel) const = 0;
    [[nodiscard]] virtual OV::ChannelStatus Read(OV::IChannel& channel) = 0;

    /// A label to show and the task to run when the user picks it.
    using Item = OV::Pair<OV::UniString, OV::RunnableTask>;
    /// Appends what the user can choose for this action of `mail`; nothing when there is no choice.
    virtual void GetActionItems(ClientMail& mail, OV::Array<Item>& items) = 0;

    [[nodiscard]] const OV::UniString& GetId() const noexcept { return id_; }

protected:
    explicit MailAction(OV::UniString id) : id_(std::move(id)) {}
    MailAction(const MailAction&) = default;
    MailAction& operator=(const MailAction&) = default;

private:
    OV::UniString id_;
};

}  // namespace SYC
