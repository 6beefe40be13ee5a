#include "Messaging/Detail/ActionResultTarget.hpp"

namespace SYC {

void MailClientActionResultObserverOverExecutor::SendMailCompleted(const ClientMail& mail,
                                                                   const NameList& recipients,
                                                                   int result)
{
    ActionResultTarget(this, GetTarget()).SendMailCompleted(mail, recipients, result);
}

void MailClientActionResultObserverOverExecutor::DeleteMailCompleted(
    const OV::PagedArray<OV::UniString>& ids, int result)
{
    ActionResultTarget(this, GetTarget()).DeleteMailCompleted(ids, result);
}

}  // namespace SYC
