#pragma once

#include "Messaging/MailClientActionResultObserver.hpp"
#include "OVRoot/PagedArray.hpp"

namespace SYC {

/// Who is told of a result, kept with the work under way: never touches an observer that has gone.
class ActionResultTarget {
public:
    /// `plain` is how an observer that is no OverExecutor is told. `observer` may be null: nobody.
    ActionResultTarget(MailClientActionResultObserver* observer, const OverExecutor::Target& plain);

    void SendMailCompleted(const ClientMail& mail,
                           const MailClientActionResultObserver::NameList& recipients,
                           int result) const;
    void DeleteMailCompleted(const OV::PagedArray<OV::UniString>& ids, int result) const;

private:
    MailClientActionResultObserver* observer_;
    MailClientActionResultObserverOverExecutor* overExecutor_;
    OverExecutor::Target target_;
};

}  // namespace SYC
