#include "Messaging/Detail/ActionResultTarget.hpp"

namespace SYC {

ActionResultTarget::ActionResultTarget(MailClientActionResultObserver* observer,
                                       const OverExecutor::Target& plain)
    : observer_(observer),
      overExecutor_(dynamic_cast<MailClientActionResultObserverOverExecutor*>(observer)),
      target_(overExecutor_ != nullptr ? overExecutor_->GetTarget() : plain)
{}

void ActionResultTarget::SendMailCompleted(
    const ClientMail& mail, const MailClientActionResultObserver::NameList& recipients,
    int result) const
{
    if (observer_ == nullptr)
        return;
    target_.Post([plain = observer_, over = overExecutor_, mail, recipients, result] {
        if (over != nullptr)
            over->_SendMailCompletedFromExecutor(mail, recipients, result);
        else
            plain->SendMailCompleted(mail, recipients, result);
    });
}

void ActionResultTarget::DeleteMailCompleted(const OV::PagedArray<OV::UniString>& ids,
                                             int result) const
{
    if (observer_ == nullptr)
        return;
    target_.Post([plain = observer_, over = overExecutor_, ids, result] {
        if (over != nullptr)
            over->_DeleteMailCompletedFromExecutor(ids, result);
        else
            plain->DeleteMailCompleted(ids, result);
    });
}

}  // namespace SYC
