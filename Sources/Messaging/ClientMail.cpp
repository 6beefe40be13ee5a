#include "Messaging/ClientMail.hpp"

#include "Messaging/Detail/MailActions.hpp"

#include <tuple>

namespace SYC {

bool operator==(const ClientMail& left, const ClientMail& right)
{
    const auto fields = [](const ClientMail& m) {
        return std::tie(m.id_, m.parentMailId_, m.importance_, m.type_, m.read_, m.sender_,
                        m.senderFullName_, m.recipientsLoginName_, m.recipientsFullName_,
                        m.sendingTime_, m.repositoryTime_, m.bodyText_, m.copy_, m.out_,
                        m.historical_, m.modify_);
    };
    return fields(left) == fields(right) && MailActions::AreEqual(left.actions_, right.actions_);
}

bool ClientMail::MarkDoneCopyHistorical() noexcept
{
    const bool isDone = copy_ && type_ != MailType::Request;
    historical_ = historical_ || isDone;
    return isDone;
}

}  // namespace SYC
