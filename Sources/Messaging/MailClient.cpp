#include "Messaging/MailClient.hpp"

#include "Messaging/Detail/MailClientParts.hpp"
#include "Messaging/Detail/MailDelivery.hpp"
#include "Messaging/Detail/MailRequest.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Condition.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Resources.hpp"

namespace SYC {

namespace {

enum Alert : int {
    MessageDeletingError = 31041,
    MessageStatusSettingError = 31049,
};

constexpr std::uint32_t LogOutMilliseconds = 5000;

}  // namespace

MailClient::MailClient(SYCB::PKSignalClient& signalClient,
                       SYCB::ProjectConnectionManagerInterface& manager, ProjectMembers& members,
                       const IO::Location& dataFolder, OV::Executor& executor)
    : MailClient(signalClient, manager, members, dataFolder, executor,
                 std::make_unique<MailBox>(dataFolder))
{}

MailClient::MailClient(SYCB::PKSignalClient& signalClient,
                       SYCB::ProjectConnectionManagerInterface& manager, ProjectMembers& members,
                       const IO::Location& dataFolder, OV::Executor& executor,
                       std::unique_ptr<MailBox> box)
    : MailClientActionResultObserverOverExecutor(&executor), signalClient_(signalClient),
      members_(members), project_(std::make_unique<OpenedProject>(manager)), box_(std::move(box)),
      delivery_(std::make_unique<MailDelivery>(
          *project_, signalClient.GetPresenceService(), *this, dataFolder,
          [this](const OV::UniString& localId, const OV::UniString& serverId) {
              observers_.Notify([&](MailClientObserver& observer) {
                  observer.MailDelivered(*this, localId, serverId);
              });
          })),
      worker_(1, 2, MailWorkerMilliseconds), orderedWorker_(1, 1, MailWorkerMilliseconds),
      fileWorker_(1, 1, MailWorkerMilliseconds)
{
    if (m_instance != nullptr)
        throw OV::IllegalArgumentException(
            "A mail client exists already; a process has one at a time.");
    m_instance = this;
    box_->SetBackground(
        [this](std::function<void()> work, const std::function<void()>& end) {
            return fileWorker_.Execute(
                OV::MakeTask([work = std::move(work), end, target = GetTarget()] {
                    work();
                    (void)target.Post(end);
                }));
        },
        [this](const std::exception_ptr& failure) { FileWorkEnded(failure); });
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
    box_->SetBackground({}, {});  // nobody is told any more
    box_->WriteRest();
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
    const auto found = box_->Find(id);
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
    box_->Clear();
    ++generation_;
    TellListChanged();
}

void MailClient::ReadFromDisc()
{
    box_->FollowOthers();
    TellNews();
}

void MailClient::WriteToDisc()
{
    box_->Write();
    TellNews();
}

void MailClient::TellChanges()
{
    const auto changes = box_->TakeChanges();
    if (!changes.IsEmpty())
        observers_.Notify(
            [&](MailClientObserver& observer) { observer.MailsChanged(*this, changes); });
}

void MailClient::TellListChanged()
{
    TellChanges();
    observers_.Notify([this](MailClientObserver& observer) { observer.MailListChanged(*this); });
}

void MailClient::FileWorkEnded(const std::exception_ptr& failure)
{
    if (failure)
        observers_.Notify([&](MailClientObserver& observer) {
            observer.MailsNotWritten(*this, DescribeException(failure).sentence);
        });
    TellNews();
}

/// Of what the box took over from other processes.
void MailClient::TellNews()
{
    if (box_->TakeNews())
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
    if (!box_->Remove(ids))
        return;
    box_->StartWriting();
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
                box_->WriteSoon();
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
        box_->NoteMarked(mail);
    return isNew;
}

bool MailClient::ApplyFlags(const FlagTable& flags, const Mark& mark)
{
    bool isChanged = false;
    for (const auto& [id, flag] : flags) {
        if (!flag)
            continue;
        if (const auto mail = box_->Find(id))
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
    box_->NoteMark();
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
    for (const auto& mail : box_->GetMails()) {
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
    const bool isKnown = isTaken && done->condition.Wait(LogOutMilliseconds) && done->succeeded;
    if (isKnown && !modified.empty()) {
        for (const auto& mail : modified)
            mail->SetModify(false);
        box_->WriteSoon();
    }
    box_->WriteRest();
    TellNews();
    if (!isKnown && !modified.empty())
        OV::ShowAlert(Alert::MessageStatusSettingError);
    return isKnown;
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
    for (const auto& mail : box_->GetMails()) {
        if (!IsOfFormerMember(*mail))
            continue;
        if (asOf && box_->WasHereAt(*mail, *asOf))
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

}  // namespace SYC
