#pragma once

#include "Messaging/Detail/MailActions.hpp"

namespace SYC {

/// The order of a mail's fields in each encoding, written down once for the reader and the writer.
/// `Mail` is ClientMail or const ClientMail.
struct MailFields {
    using CarriedActions = ClientMail::CarriedActions;

    /// `code(field)` returns a status; the first error ends the walk.
    template <class Mail, class Code>
    [[nodiscard]] static OV::ChannelStatus WalkDisk(Mail& mail, Code&& code)
    {
        OV::ChannelStatus status = OV::ChannelOk;
        const auto each = [&](auto&... fields) {
            static_cast<void>((((status = code(fields)) == OV::ChannelOk) && ...));
        };
        each(mail.id_, mail.read_, mail.copy_, mail.out_, mail.modify_, mail.sender_,
             mail.senderFullName_, mail.recipientsLoginName_, mail.recipientsFullName_,
             mail.sendingTime_, mail.repositoryTime_, mail.importance_, mail.type_, mail.bodyText_,
             mail.actions_, mail.historical_, mail.parentMailId_);
        return status;
    }

    /// `code` throws. Fields that the record may leave out have calls of their own.
    template <class Mail, class Code>
    static void WalkCompact(Mail& mail, Code&& code)
    {
        const auto each = [&](auto&... fields) { (code(fields), ...); };
        each(mail.id_, mail.read_, mail.copy_, mail.out_, mail.modify_, mail.sender_,
             mail.senderFullName_, mail.recipientsLoginName_, mail.recipientsFullName_,
             mail.sendingTime_, mail.repositoryTime_, mail.importance_, mail.type_);
        code.Optional(mail.bodyText_);
        code.Optional(mail.actions_);
        code.Historical(mail);
        code.Trailing(mail.parentMailId_);
    }

    /// What a record whose actions cannot be read holds behind its text.
    static void SetBehindText(ClientMail& mail, std::uint32_t actionCount, OV::String actions,
                              bool historical, OV::UniString parentMailId)
    {
        MailActions::Keep(mail.actions_, actionCount, std::move(actions));
        mail.historical_ = historical;
        mail.parentMailId_ = std::move(parentMailId);
    }

    static void MarkDoneCopyHistorical(ClientMail& mail) { mail.MarkDoneCopyHistorical(); }
};

}  // namespace SYC
