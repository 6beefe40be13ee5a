#pragma once

#include "Messaging/Detail/MailActions.hpp"
#include "OVRoot/FieldStream.hpp"

namespace SYC {

/// The fields of a mail, written down once for the readers and the writers of both encodings.
struct MailFields {
    using CarriedActions = ClientMail::CarriedActions;
    using Flag = ClientMail::Flag;

    /// `Mail` is ClientMail or const ClientMail. `stream` has calls of their own for what the
    /// compact form leaves out when it is empty.
    template <class Mail, class Stream>
    static void Transfer(Mail& mail, Stream& stream)
    {
        OV::TransferFields(stream, mail.id_, mail.read_, mail.copy_, mail.out_, mail.modify_,
                           mail.sender_, mail.senderFullName_, mail.recipientsLoginName_,
                           mail.recipientsFullName_, mail.sendingTime_, mail.repositoryTime_,
                           mail.importance_, mail.type_);
        stream.Optional(mail.bodyText_);
        stream.Optional(mail.actions_);
        stream(mail.historical_);
        stream.Trailing(mail.parentMailId_);
    }

    /// What a record whose actions cannot be read holds behind its text.
    static void SetBehindText(ClientMail& mail, std::uint32_t actionCount, OV::String actions,
                              bool historical, OV::UniString parentMailId)
    {
        MailActions::Keep(mail.actions_, actionCount, std::move(actions));
        mail.historical_ = historical;
        mail.parentMailId_ = std::move(parentMailId);
    }
};

}  // namespace SYC
