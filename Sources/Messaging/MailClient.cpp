#include "Messaging/MailClient.hpp"

#include "Messaging/Detail/MailClientParts.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Condition.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Resources.hpp"

namespace SYC {

namespace {

enum Alert : int {
    MessageDeletingError = 31041,
    MessageStatusSettingError = 31049,
};

constexpr std::uint32_t LogOutMilliseconds = 5000;
constexpr std::uint32_t KeepAliveMilliseconds = 30'000;

}  // namespace

const MailClient::Mark MailClient::Mark::Read{&ClientMail::IsRead, &ClientMail::SetRead,
                                              &Syncra::Client::SyncraClient::SetMailStatus};
const MailClient::Mark MailClient::Mark::Historical{
    &ClientMail::IsHistorical, &ClientMail::SetHistorical,
    &Syncra::Client::SyncraClient::SetMailHistorical};

MailClient* MailClient::m_instance = nullptr;

MailClient::MailClient(SYCB::PKSignalClient& signalClient,
                       SYCB::ProjectConnectionManagerInterface& manager, ProjectMembers& members,
                       const IO::Location& dataFolder, OV::Executor& executor)
    : MailClientActionResultObserverOverExecutor(&executor), signalClient_(signalClient),
      manager_(manager), members_(members), project_(std::make_unique<OpenedProject>(manager)),
      box_(dataFolder), outbox_(dataFolder), worker_(1, 2, KeepAliveMilliseconds),
      orderedWorker_(1, 1, KeepAliveMilliseconds)
{
    if (m_instance != nullptr)
        throw OV::IllegalArgumentException(
            OV::UniString(u"A mail client exists already; a process has one at a time."));
    m_instance = this;
    signalClient_.Attach(*this);
    signalClient_.GetPresenceService().Attach(*this);
    members_.Attach(*this);
    if (IsOnline() && !outbox_.IsEmpty())
        StartSending();
    RefreshMails(RefreshMailListReason::ClientStarted);
}

MailClient::~MailClient()
{
    ToDestroy();
    members_.Detach(*this);
    signalClient_.GetPresenceService().Detach(*this);
    signalClient_.Detach(*this);
    m_instance = nullptr;
    worker_.Cancel();
    orderedWorker_.Cancel();
    worker_.AwaitTermination();
    orderedWorker_.AwaitTermination();
    box_.WriteRest();
}

bool MailClient::GetMail(const OV::UniString& id, OV::Ref<ClientMail>& mail) const
{
    const auto found = box_.Find(id);
    if (found)
        mail = found;
    return static_cast<bool>(found);
}

bool MailClient::IsOnline() const
{
    return signalClient_.GetPresenceService().IsOnline();
}

void MailClient::SetPassword(const OV::UniString& password)
{
    project_->SetPassword(password);
}

void MailClient::Clear()
{
    box_.Clear();
    TellListChanged();
}

void MailClient::TellListChanged()
{
    observers_.Notify([this](MailClientObserver& observer) { observer.MailListChanged(*this); });
}

// Sending

void MailClient::SendMail(const OV::Array<OV::UniString>& recipients, ClientMail& mail,
                          MailClientActionResultObserver* observer)
{
    if (recipients.empty())
        throw OV::IllegalArgumentException(OV::UniString(u"The mail has no recipient."));
    mail.SetId(OV::Guid::Generate().ToText());
    mail.SetSendingTime(OV::Clock::Current().Now());
    mail.SetRecipientsLoginName(recipients);
    mail.SetOut(true);
    if (mail.GetSender().empty())
        mail.SetSender(project_->GetLoginName());
    {
        const OV::LockGuard guard(sendLock_);
        senders_.emplace(mail.GetId(), ActionResultTarget(observer, GetTarget()));
    }
    try {
        outbox_.Add(OV::MakeRef<ClientMail>(mail));
    } catch (...) {
        const OV::LockGuard guard(sendLock_);
        senders_.erase(mail.GetId());
        throw;
    }
    outbox_.TellObservers();
    StartSending();
}

void MailClient::StartSending()
{
    if (loggedOut_ || worker_.IsShutdown() || !ProcessSendTask())
        return;
    if (!worker_.Execute(OV::MakeTask([this] { SendOutbox(); })))
        (void)SendTaskFinished();
}

void MailClient::DeleteOutboxMails(const OV::Array<OV::UniString>& ids)
{
    outbox_.Remove(ids);
    {
        const OV::LockGuard guard(sendLock_);
        for (const auto& id : ids)
            senders_.erase(id);
    }
    outbox_.TellObservers();
}

void MailClient::SetOutboxMailsHistorical(const OV::Array<OV::UniString>& ids)
{
    outbox_.SetHistorical(ids);
    outbox_.TellObservers();
}

void MailClient::_SendMailCompletedFromExecutor(const ClientMail&, const NameList&, int result)
{
    if (result == MailResult::Succeeded)
        outbox_.TellObservers();
}

// Deleting and marking

void MailClient::DeleteMail(const OV::UniString& id, MailClientActionResultObserver* observer)
{
    DeleteMails({id}, observer);
}

void MailClient::DeleteMails(const IdList& ids, MailClientActionResultObserver* observer)
{
    const ActionResultTarget self(this, GetTarget());
    const ActionResultTarget other(observer, GetTarget());
    orderedWorker_.Execute(OV::MakeTask([this, ids, self, other] {
        const int result = ResultOf(u"Deleting mails", [&] {
            project_->Ask([&](Syncra::Client::SyncraClient& client) {
                client.DeleteMails(project_->GetProjectId(), {ids.begin(), ids.end()});
            });
        });
        self.DeleteMailCompleted(ids, result);
        other.DeleteMailCompleted(ids, result);
    }));
}

void MailClient::_DeleteMailCompletedFromExecutor(const IdList& ids, int result)
{
    if (result != MailResult::Succeeded) {
        OV::ShowAlert(Alert::MessageDeletingError);
        return;
    }
    if (!box_.Remove(ids))
        return;
    box_.WriteRest();
    TellListChanged();
}

void MailClient::SetMailRead(const OV::UniString& id, bool read)
{
    SetMailsRead({id}, read);
}

void MailClient::SetMailsRead(const IdList& ids, bool read)
{
    SetMails(ids, read, Mark::Read);
}

void MailClient::SetMailHistorical(const OV::UniString& id, bool historical)
{
    SetMailsHistorical({id}, historical);
}

void MailClient::SetMailsHistorical(const IdList& ids, bool historical)
{
    SetMails(ids, historical, Mark::Historical);
}

void MailClient::SetMails(const IdList& ids, bool flag, const Mark& mark)
{
    FlagTable flags;
    for (const auto& id : ids)
        flags.emplace(id, flag);
    orderedWorker_.Execute(OV::MakeTask([this, flags, &mark, target = GetTarget()] {
        const int result = ResultOf(u"Marking mails", [&] {
            project_->Ask([&](Syncra::Client::SyncraClient& client) {
                (client.*mark.send)(project_->GetProjectId(), flags);
            });
        });
        target.Post([this, flags, &mark, result] {
            if (result != MailResult::Succeeded) {
                OV::ShowAlert(Alert::MessageStatusSettingError);
            } else if (ApplyFlags(flags, mark)) {
                box_.WriteSoon();
                TellListChanged();
            }
        });
    }));
}

bool MailClient::ApplyFlags(const FlagTable& flags, const Mark& mark)
{
    bool isChanged = false;
    for (const auto& [id, flag] : flags) {
        if (!flag)
            continue;
        const auto mail = box_.Find(id);
        if (!mail || ((*mail).*mark.isSet)())
            continue;
        ((*mail).*mark.set)();
        isChanged = true;
    }
    return isChanged;
}

void MailClient::SetMailReadMessage(ClientMail& mail)
{
    MarkLocally(mail, Mark::Read);
}

void MailClient::SetMailHistoricalMessage(ClientMail& mail)
{
    MarkLocally(mail, Mark::Historical);
}

void MailClient::MarkLocally(ClientMail& mail, const Mark& mark)
{
    if ((mail.*mark.isSet)())
        return;
    (mail.*mark.set)();
    mail.SetModify(true);
    try {
        box_.NoteMark();
    } catch (...) {
        TellListChanged();  // the mark stands, on the disk or not
        throw;
    }
    TellListChanged();
}

bool MailClient::SynchronizeLogOut()
{
    struct Done {
        OV::Condition condition;
        std::atomic<bool> succeeded = false;
    };
    loggedOut_ = true;
    MailList modified;
    FlagTable read;
    FlagTable historical;
    for (const auto& mail : box_.GetMails()) {
        if (!mail->IsModify())
            continue;
        modified.push_back(mail);
        if (mail->IsRead())
            read.emplace(mail->GetId(), true);
        if (mail->IsHistorical())
            historical.emplace(mail->GetId(), true);
    }
    const auto done = std::make_shared<Done>();
    // Behind the marks and deletions that wait, so that those are out as well.
    orderedWorker_.Execute(OV::MakeTask([this, read, historical, done] {
        done->succeeded =
            MailResult::Succeeded == ResultOf(u"Sending the marks of mails", [&] {
                if (read.empty() && historical.empty())
                    return;
                project_->Ask([&](Syncra::Client::SyncraClient& client) {
                    if (!historical.empty())
                        client.SetMailHistorical(project_->GetProjectId(), historical);
                    if (!read.empty())
                        client.SetMailStatus(project_->GetProjectId(), read);
                });
            });
        done->condition.Notify();
    }));
    if (!done->condition.Wait(LogOutMilliseconds) || !done->succeeded)
        return false;
    for (const auto& mail : modified)
        mail->SetModify(false);
    if (!modified.empty())
        box_.WriteSoon();
    return true;
}

// What others tell

bool MailClient::_CheckSignalType(Syncra::Protocol::SignalId id) const
{
    return id == Syncra::Protocol::SignalId::NewMail;
}

void MailClient::_SignalReceived(const Syncra::Protocol::Signal&)
{
    // The list, whose newest time the refresh begins with, belongs to the client's own thread.
    GetTarget().Post([this] { RefreshMails(RefreshMailListReason::ServerSignal); });
}

void MailClient::_ServiceStateChanged(SYCB::PresenceService&, SYCB::PresenceState state)
{
    if (state == SYCB::PresenceState::Online)
        StartSending();
}

void MailClient::_ProjectMembersChanged(ProjectMembers&)
{
    RetireMailsOfFormerMembers(box_.GetMails());
}

void MailClient::RetireMailsOfFormerMembers(const MailList& mails)
{
    IdList ids;
    for (const auto& mail : mails)
        if (!mail->IsCopy() && !mail->IsHistorical() && mail->GetType() != MailType::Normal &&
            !members_.IsMember(mail->GetSender()))
            ids.push_back(mail->GetId());
    if (!ids.empty())
        SetMailsHistorical(ids, true);
}

// Refreshing

void MailClient::RefreshMails(RefreshMailListReason::Value reason)
{
    if (loggedOut_)
        return;
    // One at a time: a second one would begin with a time that the first is about to move, and
    // fetch the same mails again.
    if (isRefreshing_) {
        isRefreshWanted_ = true;
        return;
    }
    const auto fetch = [this, reason, sinceTime = box_.LastRepositoryTime(), known = flagChanges_,
                        target = GetTarget()] {
        try {
            const auto refreshed = std::make_shared<Refreshed>(FetchMails(sinceTime, known));
            target.Post([this, refreshed, reason] { ApplyRefresh(*refreshed, reason); });
        } catch (const std::exception& error) {
            const auto problem = MessageOf(error);
            OV::Logger::Warning("SYClient", u"SYC::MailClient: mails cannot be fetched: %",
                                {problem});
            target.Post([this, problem] {
                observers_.Notify([&](MailClientObserver& observer) {
                    observer.RefreshMailsFailed(*this, problem);
                });
                FinishRefresh();
            });
        }
    };
    isRefreshing_ = !worker_.IsShutdown() && worker_.Execute(OV::MakeTask(fetch));
}

void MailClient::ApplyRefresh(Refreshed& refreshed, RefreshMailListReason::Value reason)
{
    const auto newMails = OV::MakeRef<MailList>();
    for (auto& mail : refreshed.mails)
        if (box_.Add(mail))
            newMails->push_back(std::move(mail));
    const bool isReadChanged = ApplyFlags(refreshed.read, Mark::Read);
    const bool isMarkChanged = ApplyFlags(refreshed.historical, Mark::Historical) || isReadChanged;
    flagChanges_ = refreshed.changes;
    if (!newMails->empty() || isMarkChanged)
        box_.WriteSoon();
    if (members_.IsKnown())
        RetireMailsOfFormerMembers(*newMails);
    observers_.Notify(
        [&](MailClientObserver& observer) { observer.NewMailExists(*this, newMails, reason); });
    if (isMarkChanged)
        TellListChanged();
    FinishRefresh();
}

void MailClient::FinishRefresh()
{
    isRefreshing_ = false;
    if (std::exchange(isRefreshWanted_, false))
        RefreshMails(RefreshMailListReason::ServerSignal);
}

}  // namespace SYC
