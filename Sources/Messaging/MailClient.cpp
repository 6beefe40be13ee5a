#include "Messaging/MailClient.hpp"

#include "Messaging/Detail/MailClientParts.hpp"
#include "Messaging/Detail/MailDelivery.hpp"
#include "Messaging/Detail/MailRequest.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Condition.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Resources.hpp"
#include "OVRoot/Thread.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>

namespace SYC {

namespace {

enum Alert : int {
    MessageDeletingError = 31041,
    MessageStatusSettingError = 31049,
};

constexpr std::uint32_t LogOutMilliseconds = 5000;

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
      members_(members), project_(std::make_unique<OpenedProject>(manager)), box_(dataFolder),
      delivery_(std::make_unique<MailDelivery>(
          *project_, signalClient.GetPresenceService(), *this, dataFolder,
          [this](const OV::UniString& localId, const OV::UniString& serverId) {
              observers_.Notify([&](MailClientObserver& observer) {
                  observer.MailDelivered(*this, localId, serverId);
              });
          })),
      worker_(1, 2, MailWorkerMilliseconds), orderedWorker_(1, 1, MailWorkerMilliseconds)
{
    if (m_instance != nullptr)
        throw OV::IllegalArgumentException(
            "A mail client exists already; a process has one at a time.");
    m_instance = this;
    try {
        signalClient_.Attach(*this);
        signalClient_.GetPresenceService().Attach(*this);
        members_.Attach(*this);
        if (IsOnline() && delivery_->GetOutbox().First({}))
            delivery_->Start();
        RefreshMails(RefreshMailListReason::ClientStarted);
    } catch (...) {
        DetachFromAll();
        throw;
    }
}

MailClient::~MailClient()
{
    ToDestroy();
    DetachFromAll();
    delivery_->Cancel();
    worker_.Cancel();
    orderedWorker_.Cancel();
    worker_.AwaitTermination();
    orderedWorker_.AwaitTermination();
    box_.WriteRest();
}

void MailClient::DetachFromAll() noexcept
{
    members_.Detach(*this);
    signalClient_.GetPresenceService().Detach(*this);
    signalClient_.Detach(*this);
    m_instance = nullptr;
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

void MailClient::SetPassword(const OV::Secret& password)
{
    project_->SetPassword(password);
}

void MailClient::Clear()
{
    box_.Clear();
    ++generation_;
    flagChanges_ = {};
    TellListChanged();
}

void MailClient::ReadFromDisc()
{
    box_.FollowOthers();
    TellNews();
}

void MailClient::WriteToDisc()
{
    box_.Write();
    TellNews();
}

void MailClient::TellChanges()
{
    const auto changes = box_.TakeChanges();
    if (!changes.IsEmpty())
        observers_.Notify(
            [&](MailClientObserver& observer) { observer.MailsChanged(*this, changes); });
}

void MailClient::TellListChanged()
{
    TellChanges();
    observers_.Notify([this](MailClientObserver& observer) { observer.MailListChanged(*this); });
}

/// Of what the box took over from other processes.
void MailClient::TellNews()
{
    if (box_.TakeNews())
        TellListChanged();
}

// Sending

void MailClient::SendMail(const OV::Array<OV::UniString>& recipients, ClientMail& mail,
                          MailClientActionResultObserver* observer)
{
    if (recipients.empty())
        throw OV::IllegalArgumentException("The mail has no recipient.");
    mail.SetId(OV::Guid::Generate().ToText());
    mail.SetSendingTime(OV::Clock::Current().Now());
    mail.SetRecipientsLoginName(recipients);
    mail.SetOut(true);
    FillInNames(mail);
    delivery_->Deliver(mail, observer);
}

MailClient::MailList MailClient::GetOutboxMails() const
{
    return delivery_->GetOutbox().GetMails();
}

bool MailClient::HasUnwrittenOutbox() const
{
    return delivery_->GetOutbox().IsFileBehind();
}

void MailClient::FlushOutbox() noexcept
{
    delivery_->Start();
    if (!IsOnline())
        signalClient_.TryNow();
}

OutboxStatus MailClient::GetOutboxStatus(const ClientMail& mail) const
{
    auto status = delivery_->GetStatus(mail);
    if (status.reason == OutboxReason::Offline) {
        status.failure = DescribeException(signalClient_.GetFailure());
        status.nextTry = signalClient_.GetNextTry();
    }
    return status;
}

bool MailClient::IsSending() const
{
    return delivery_->IsSending();
}

void MailClient::DeleteOutboxMails(const OV::Array<OV::UniString>& ids)
{
    delivery_->Withdraw(ids);
}

void MailClient::SetOutboxMailsHistorical(const OV::Array<OV::UniString>& ids)
{
    delivery_->GetOutbox().SetHistorical(ids);
    delivery_->GetOutbox().TellObservers();
}

void MailClient::AttachOutbox(OutboxObserver& observer)
{
    delivery_->GetOutbox().Attach(observer);
}

void MailClient::DetachOutbox(OutboxObserver& observer)
{
    delivery_->GetOutbox().Detach(observer);
}

OV::Subscription MailClient::SubscribeOutbox(OutboxObserver& observer)
{
    return delivery_->GetOutbox().Subscribe(observer);
}

void MailClient::_SendMailCompletedFromExecutor(const ClientMail&, const NameList&, int result)
{
    if (result == MailResult::Succeeded)
        delivery_->GetOutbox().TellObservers();
}

// Deleting and marking

void MailClient::DeleteMail(const OV::UniString& id, MailClientActionResultObserver* observer)
{
    DeleteMails({id}, observer);
}

void MailClient::DeleteMails(const IdList& ids, MailClientActionResultObserver* observer)
{
    const ActionResultTarget other(observer, GetTarget());
    const auto tell = [this, ids, other, underWay = changesUnderWay_](int result) {
        DeleteMailCompleted(ids, result);
        other.DeleteMailCompleted(ids, result);
    };
    const bool isTaken = orderedWorker_.Execute(OV::MakeTask([this, ids, tell] {
        tell(ResultOf(u"Deleting mails", [&] {
            project_->Ask([&](Syncra::Client::SyncraClient& client) {
                client.DeleteMails(project_->GetProjectId(), {ids.begin(), ids.end()});
            });
        }));
    }));
    if (!isTaken)
        tell(MailResult::NotReached);
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
    (void)box_.TakeNews();
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
    const auto tell = [this, flags, &mark, target = GetTarget(),
                       underWay = changesUnderWay_](int result) {
        target.Post([this, flags, &mark, result] {
            if (result != MailResult::Succeeded) {
                OV::ShowAlert(Alert::MessageStatusSettingError);
            } else if (ApplyFlags(flags, mark)) {
                box_.WriteSoon();
                (void)box_.TakeNews();
                TellListChanged();
            }
        });
    };
    const bool isTaken = orderedWorker_.Execute(OV::MakeTask([this, flags, &mark, tell] {
        tell(ResultOf(u"Marking mails", [&] {
            project_->Ask([&](Syncra::Client::SyncraClient& client) {
                (client.*mark.send)(project_->GetProjectId(), flags);
            });
        }));
    }));
    if (!isTaken)
        tell(MailResult::NotReached);
}

/// False when it was set already.
bool MailClient::SetMark(ClientMail& mail, const Mark& mark)
{
    const bool isNew = mark.Set(mail);
    if (isNew)
        box_.NoteMarked(mail);
    return isNew;
}

bool MailClient::ApplyFlags(const FlagTable& flags, const Mark& mark)
{
    bool isChanged = false;
    for (const auto& [id, flag] : flags) {
        if (!flag)
            continue;
        if (const auto mail = box_.Find(id))
            isChanged = SetMark(*mail, mark) || isChanged;
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
    if (!SetMark(mail, mark))
        return;
    mail.SetModify(true);
    try {
        box_.NoteMark();
    } catch (...) {
        TellListChanged();  // the mark stands, on the disk or not
        throw;
    }
    (void)box_.TakeNews();
    TellListChanged();
}

bool MailClient::SynchronizeLogOut()
{
    struct Done {
        OV::Condition condition;
        std::atomic<bool> succeeded = false;
    };
    loggedOut_ = true;
    delivery_->Close();
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
    const bool isTaken = orderedWorker_.Execute(OV::MakeTask([this, read, historical, done] {
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
    if (!isTaken || !done->condition.Wait(LogOutMilliseconds) || !done->succeeded) {
        if (!modified.empty())
            OV::ShowAlert(Alert::MessageStatusSettingError);
        return false;
    }
    for (const auto& mail : modified)
        mail->SetModify(false);
    if (!modified.empty())
        box_.WriteSoon();
    TellNews();
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
    delivery_->TellStatus();
    if (state != SYCB::PresenceState::Online)
        return;
    delivery_->Start();
    // The first connection brings no signals of what happened before it.
    GetTarget().Post([this] {
        if (isRefreshMissing_)
            RefreshMails(RefreshMailListReason::ServerSignal);
    });
}

/// A request is judged by members who were read after it came: an older list may lack its sender,
/// who joined and wrote in between. What cannot be judged yet waits for a newer list.
void MailClient::_ProjectMembersChanged(ProjectMembers&)
{
    const auto asOf = members_.GetAsOf();
    IdList ids;
    bool isNewerListWanted = false;
    for (const auto& mail : box_.GetMails()) {
        if (!IsOfFormerMember(*mail))
            continue;
        if (asOf && box_.WasHereAt(*mail, *asOf))
            ids.push_back(mail->GetId());
        else
            isNewerListWanted = true;
    }
    if (!ids.empty())
        SetMailsHistorical(ids, true);
    if (isNewerListWanted)
        members_.Refresh();
}

/// An open request, or an answer to one, of somebody whom the list of members lacks.
bool MailClient::IsOfFormerMember(const ClientMail& mail) const
{
    return !mail.IsCopy() && !mail.IsHistorical() && mail.GetType() != MailType::Normal &&
           !members_.IsMember(mail.GetSender());
}

// Refreshing

bool MailClient::IsRefreshing() const noexcept
{
    return static_cast<bool>(refresh_);
}

void MailClient::RefreshMails(RefreshMailListReason::Value reason)
{
    if (loggedOut_ || worker_.IsShutdown())
        return;
    // One at a time: a second one would begin with a time that the first is about to move, and
    // fetch the same mails again.
    if (refresh_) {
        isRefreshWanted_ = true;
        return;
    }
    isRefreshWanted_ = false;
    box_.BeginRefresh();
    const auto token = refresh_.Begin();
    const auto fail = [this, target = GetTarget(), token](const Failure& failure) {
        OV::Logger::Warning(OV::Logger::Library, u"SYC::MailClient: mails cannot be fetched: %",
                            {failure.sentence});
        target.Post([this, failure, token] {
            const RefreshEnd end(*this, token);
            RefreshFailed(failure);
        });
    };
    IdList kept;
    if (flagChanges_.read == 0)
        for (const auto& mail : box_.GetMails())
            kept.push_back(mail->GetId());
    const auto fetch = [this, reason, sinceTime = box_.LastRepositoryTime(), known = flagChanges_,
                        kept, generation = generation_, target = GetTarget(), token, fail] {
        try {
            const auto refreshed = std::make_shared<Refreshed>(FetchMails(sinceTime, known, kept));
            refreshed->generation = generation;
            target.Post([this, refreshed, reason, token] {
                const RefreshEnd end(*this, token);
                TakeRefresh(*refreshed, reason);
            });
        } catch (const OV::InterruptedException&) {
            // The client ends, and nobody is left to be told.
        } catch (...) {
            fail(DescribeException());
        }
    };
    if (!worker_.Execute(OV::MakeTask(fetch)))
        fail(NoThreadFailure());
}

void MailClient::TakeRefresh(Refreshed& refreshed, RefreshMailListReason::Value reason)
{
    if (refreshed.generation != generation_) {
        // It began behind mails that the list does not hold any more.
        isRefreshWanted_ = true;
        return;
    }
    try {
        ApplyRefresh(refreshed, reason);
        isRefreshMissing_ = false;
        lastFailure_ = {};
        retryPauses_.Reset();
    } catch (...) {
        RefreshFailed(DescribeException());
    }
}

void MailClient::ApplyRefresh(Refreshed& refreshed, RefreshMailListReason::Value reason)
{
    auto newMails = OV::MakeRef<MailList>(box_.TakeArrivals());
    bool isMarkChanged = false;
    for (const auto& mail : refreshed.mails)
        if (box_.Add(mail))
            newMails->push_back(mail);
        else if (const auto ours = box_.Find(mail->GetId()))
            for (const auto* mark : {&Mark::Read, &Mark::Historical})
                isMarkChanged = (mark->IsSet(*mail) && SetMark(*ours, *mark)) || isMarkChanged;
    isMarkChanged = ApplyFlags(refreshed.read, Mark::Read) || isMarkChanged;
    isMarkChanged = ApplyFlags(refreshed.historical, Mark::Historical) || isMarkChanged;
    const bool isOldChanged = box_.Remove(refreshed.deleted) || isMarkChanged;
    flagChanges_ = refreshed.changes;
    if (!newMails->empty() || isOldChanged)
        box_.WriteSoon();
    else
        box_.FollowOthersSoon();
    const bool isListChanged = box_.TakeNews() || isOldChanged;
    if (members_.IsKnown() &&
        std::any_of(newMails->begin(), newMails->end(),
                    [&](const auto& mail) { return IsOfFormerMember(*mail); }))
        members_.Refresh();
    TellChanges();
    observers_.Notify(
        [&](MailClientObserver& observer) { observer.NewMailExists(*this, newMails, reason); });
    if (isListChanged)
        TellListChanged();
}

void MailClient::RefreshFailed(const Failure& failure)
{
    isRefreshMissing_ = true;
    lastFailure_ = failure;
    observers_.Notify([&](MailClientObserver& observer) {
        observer.RefreshMailsFailed(*this, failure.sentence);
    });
    // What follows a refusal of the user is for the user to do.
    if (!Syncra::Protocol::RefusesUser(failure.code))
        RetrySoon();
}

/// One more attempt while the signals say that the server is there. When they do not, they bring a
/// refresh as they come back.
void MailClient::RetrySoon()
{
    if (retry_ || !IsOnline() || worker_.IsShutdown())
        return;
    (void)worker_.Execute(OV::MakeTask([this, pause = retryPauses_.NextMilliseconds(),
                                        target = GetTarget(), token = retry_.Begin()] {
        OV::Thread::Sleep(pause);
        target.Post([this, token] {
            token.End();
            if (isRefreshMissing_ && IsOnline())
                RefreshMails(RefreshMailListReason::ServerSignal);
        });
    }));
}

MailClient::RefreshEnd::~RefreshEnd()
{
    try {
        if (client_.isRefreshWanted_)
            client_.RefreshMails(RefreshMailListReason::ServerSignal);
    } catch (...) {
        LogFailure(u"Fetching mails");
    }
}

}  // namespace SYC
