#pragma once

#include "Failure.hpp"
#include "Messaging/MailBox.hpp"
#include "Messaging/MailClientActionResultObserver.hpp"
#include "Messaging/MailClientObserver.hpp"
#include "Messaging/OutboxObserver.hpp"
#include "Messaging/OutboxStatus.hpp"
#include "Messaging/ProjectMembers.hpp"
#include "Messaging/RequestUnderWay.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "OVRoot/Secret.hpp"
#include "SYClientBase/Backoff.hpp"
#include "SYClientBase/PKSignalClient.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"

namespace SYC {

enum class MailAnswer : std::int32_t;
struct MailContent;
class MailDelivery;
class OpenedProject;

/// The user's mail box in the opened project: fetches mails when the server signals, delivers the
/// outbox while the project is online, and tells the server what was read and what is history.
///
/// Made, used and destroyed on one thread, the one that its executor runs on; observers are told
/// there. Requests run on worker threads. One at a time in a process. Not to be destroyed by an
/// observer that it is telling something.
class SYC_API MailClient final : public MailClientActionResultObserverOverExecutor,
                                 private SYCB::PKSignalClientObserver,
                                 private SYCB::PresenceServiceObserver,
                                 private ProjectMembersObserver {
public:
    /// Mails in shared ownership: a mark shows in all lists that hold them.
    using MailList = MailFile::MailList;
    /// Ids of mails.
    using IdList = OV::PagedArray<OV::UniString>;

    /// The one that exists, or null. For its own thread.
    static inline MailClient* m_instance = nullptr;

    /// Loads "Mails.dat" and "Outbox.dat" from `dataFolder`, begins to deliver what the outbox
    /// holds when the project is online, and fetches the mails. Everything given outlives the
    /// client. Throws IO::IOException for a file that cannot be read, and
    /// OV::IllegalArgumentException for a project that was never checked or when a client exists
    /// already.
    MailClient(SYCB::PKSignalClient& signalClient, SYCB::ProjectConnectionManagerInterface& manager,
               ProjectMembers& members, const IO::Location& dataFolder, OV::Executor& executor);
    /// The same with the box of that folder, which a worker thread may have read: a large one takes
    /// its time.
    MailClient(SYCB::PKSignalClient& signalClient, SYCB::ProjectConnectionManagerInterface& manager,
               ProjectMembers& members, const IO::Location& dataFolder, OV::Executor& executor,
               std::unique_ptr<MailBox> box);
    /// Ends requests under way, within 100 ms each, and writes what is outstanding. No function of
    /// this class but SynchronizeLogOut waits for a server. None but those and WriteToDisc and
    /// ReadFromDisc wait for "Mails.dat", which is written on a worker.
    ~MailClient() override;

    /// In the order received; the last one has the newest repository time.
    [[nodiscard]] const MailList& GetMails() const noexcept { return box_->GetMails(); }
    /// False when there is none with that id; `mail` then stays.
    [[nodiscard]] bool GetMail(const OV::UniString& id, OV::Ref<ClientMail>& mail) const;
    /// Those that wait for delivery, the oldest first.
    [[nodiscard]] MailList GetOutboxMails() const;
    /// The members that were given.
    [[nodiscard]] ProjectMembers& GetProjectMembers() const noexcept { return members_; }
    /// Whether the server can be worked with now.
    [[nodiscard]] bool IsOnline() const;
    /// Whether SynchronizeLogOut ended fetching and sending.
    [[nodiscard]] bool IsLogOut() const noexcept { return loggedOut_; }

    /// Puts the mail into the outbox for these login names, and delivers it as soon as the project
    /// is online. It is safe on the disk when this returns; IO::IOException otherwise, and the mail
    /// is not in the outbox. `mail` gets its id, its sending time and its recipients, and where it
    /// names none the user as sender and the full names, as far as the members are known. The id is
    /// this client's: the server gives the mail another one, under which the copy and the answers
    /// come, and MailClientObserver::MailDelivered tells both. OV::IllegalArgumentException without
    /// a recipient. `observer` may be null; it is told of each attempt, and when another process
    /// took the mail.
    void SendMail(const OV::Array<OV::UniString>& recipients, ClientMail& mail,
                  MailClientActionResultObserver* observer);

    /// Answers a mail of the list: to its sender, or to its recipients when it is the user's own
    /// copy. Then marks the original read and, unless the answer is a reply, as history, as the
    /// marks of SetMailReadMessage below. Returns the mail as it went into the outbox; safe and
    /// reported as with SendMail, which also tells what is thrown.
    /// OV::IllegalArgumentException for an original that may not be answered so.
    ClientMail Answer(ClientMail& original, MailAnswer answer, MailContent content,
                      MailClientActionResultObserver* observer);
    /// Whether Answer would take that answer of the user to that mail.
    [[nodiscard]] static bool MayAnswer(const ClientMail& original, MailAnswer answer);
    /// The login names that an answer goes to.
    [[nodiscard]] static OV::Array<OV::UniString> GetAnswerRecipients(const ClientMail& original);
    /// Sends what a mail says to others, behind the text of `content`; its actions stay behind, for
    /// they concern the two of whom one asked. Otherwise as Answer.
    ClientMail Forward(const ClientMail& original, const OV::Array<OV::UniString>& recipients,
                       MailContent content, MailClientActionResultObserver* observer);

    /// Delete mails on the server, then here. `observer` may be null. A failure is also shown as an
    /// alert.
    void DeleteMails(const IdList& ids, MailClientActionResultObserver* observer);
    /// As DeleteMails.
    void DeleteMail(const OV::UniString& id, MailClientActionResultObserver* observer);

    /// Tell the server, then mark here. A mark that is set is never taken back here. A failure is
    /// shown as an alert.
    void SetMailsRead(const IdList& ids, bool read);
    /// As SetMailsRead, for one mail or for the mark of history.
    /// @{
    void SetMailRead(const OV::UniString& id, bool read);
    void SetMailsHistorical(const IdList& ids, bool historical);
    void SetMailHistorical(const OV::UniString& id, bool historical);
    /// @}
    /// Whether a deletion or a mark is on its way to the server. When it is not, all ends are told
    /// or wait in the executor; one that found no memory is lost.
    [[nodiscard]] bool IsChanging() const noexcept { return changesUnderWay_.use_count() > 1; }

    /// Mark a mail of the list here alone; the server hears of it at log-out. With every sixth mark
    /// the file begins to be written: the marks between are few, and a crash may cost them. When it
    /// cannot be written, MailClientObserver::MailsNotWritten tells, and the mark stays.
    void SetMailReadMessage(ClientMail& mail);
    /// As SetMailReadMessage, for the mark of history.
    void SetMailHistoricalMessage(ClientMail& mail);

    /// Begins to deliver what the outbox holds, unless the client does so already; a pause before
    /// the next attempt ends, and offline one before the server is tried again. Online it does by
    /// itself.
    void FlushOutbox() noexcept;
    /// Why a mail of the outbox waits.
    [[nodiscard]] OutboxStatus GetOutboxStatus(const ClientMail& mail) const;
    /// Whether mails are being delivered. What the outbox then still holds waits for something: the
    /// server, a recipient, or a process that knows its actions.
    [[nodiscard]] bool IsSending() const;
    /// Whether "Outbox.dat" still holds mails that were delivered: it is written after a mail left
    /// the list, a moment later, or again later when the disk did not take it. The server
    /// recognises what is sent again.
    [[nodiscard]] bool HasUnwrittenOutbox() const;
    /// Throw IO::IOException; then nothing changed. A mail that is being sent may still arrive.
    void DeleteOutboxMails(const OV::Array<OV::UniString>& ids);
    /// As DeleteOutboxMails throws; a mark that is set is never taken back.
    void SetOutboxMailsHistorical(const OV::Array<OV::UniString>& ids);

    /// Sends the local marks to the server, waits at most five seconds for that, and ends fetching
    /// and sending; what "Mails.dat" then lacks is written before it returns. Whether the server
    /// has them; those that it has not go with the next log-out, and an alert tells of it. An
    /// interruption of the calling thread ends the wait within 100 ms, with
    /// OV::InterruptedException; the marks then go with the next log-out as well.
    bool SynchronizeLogOut();
    /// In place of the one in the project's location, for later requests.
    void SetPassword(const OV::Secret& password);
    /// Empties the list here; the next refresh fetches all mails again.
    void Clear();

    /// Takes over what other processes wrote into "Mails.dat", before it returns.
    void ReadFromDisc();
    /// Takes it over and writes the list whole, before it returns. Throws IO::IOException; the file
    /// then stays as it was.
    void WriteToDisc();
    /// Whether the list has changes that "Mails.dat" has not: up to five local marks, what is being
    /// written or waits for a better moment, or what the disk did not take, which the log told.
    [[nodiscard]] bool HasUnwrittenMails() const noexcept { return box_->IsFileBehind(); }

    /// Fetches what is new. The first one after a start also takes out what was deleted meanwhile:
    /// on another computer, or here while the file could not be written.
    void RefreshMails(RefreshMailListReason::Value reason);
    /// Whether one is under way, of which the observers will hear.
    [[nodiscard]] bool IsRefreshing() const noexcept;
    /// Why the last refresh failed; none after one that did not.
    [[nodiscard]] const Failure& GetLastFailure() const noexcept { return lastFailure_; }

    /// An observer detaches before it is destroyed, or is attached only as long as the answer of
    /// Subscribe lives (see OVRoot/EventSource.hpp). It may outlive this object.
    void Attach(MailClientObserver& observer) { observers_.Attach(observer); }
    /// See Attach.
    /// @{
    void Detach(MailClientObserver& observer) { observers_.Detach(observer); }
    [[nodiscard]] OV::Subscription Subscribe(MailClientObserver& observer)
    {
        return observers_.Subscribe(observer);
    }
    /// @}
    /// The same for who hears of the outbox.
    /// @{
    void AttachOutbox(OutboxObserver& observer);
    void DetachOutbox(OutboxObserver& observer);
    [[nodiscard]] OV::Subscription SubscribeOutbox(OutboxObserver& observer);
    /// @}

private:
    using FlagTable = OV::HashTable<OV::UniString, bool>;
    /// A mark that goes both to the server and into the list.
    struct Mark;
    /// What a refresh brings to the list.
    struct Refreshed;

    bool _CheckSignalType(Syncra::Protocol::SignalId id) const override;
    void _SignalReceived(const Syncra::Protocol::Signal& signal) override;
    void _ServiceStateChanged(SYCB::PresenceService& service, SYCB::PresenceState state) override;
    void _ProjectMembersChanged(ProjectMembers& members) override;
    void _SendMailCompletedFromExecutor(const ClientMail& mail, const NameList& recipients,
                                        int result) override;
    void _DeleteMailCompletedFromExecutor(const IdList& ids, int result) override;

    void FillInNames(ClientMail& mail) const;
    void TellChanges();
    void TellListChanged();
    void TellNews();
    void FileWorkEnded(const std::exception_ptr& failure);
    void DetachFromAll() noexcept;

    void TakeRefresh(const std::shared_ptr<Refreshed>& refreshed,
                     RefreshMailListReason::Value reason, const RequestUnderWay::Token& token);
    [[nodiscard]] bool AddSome(Refreshed& refreshed);
    void EndRefresh(Refreshed& refreshed, RefreshMailListReason::Value reason);
    void RefreshFailed(const Failure& failure);
    void RetrySoon();
    /// Ends a refresh however its answer was taken.
    class RefreshEnd;
    [[nodiscard]] bool SetMark(ClientMail& mail, const Mark& mark);
    [[nodiscard]] bool ApplyFlags(const FlagTable& flags, const Mark& mark);
    void SetMails(const IdList& ids, bool flag, const Mark& mark);
    void MarkLocally(ClientMail& mail, const Mark& mark);
    [[nodiscard]] bool IsOfFormerMember(const ClientMail& mail) const;

    /// On a worker thread.
    [[nodiscard]] Refreshed FetchMails(std::int32_t sinceTime, std::uint64_t knownChange,
                                       const MailList& kept);

    SYCB::PKSignalClient& signalClient_;
    ProjectMembers& members_;
    const std::unique_ptr<OpenedProject> project_;
    const std::unique_ptr<MailBox> box_;
    const std::unique_ptr<MailDelivery> delivery_;
    OV::EventSource<MailClientObserver> observers_;
    /// Since the start a refresh found out what was deleted elsewhere.
    bool isListChecked_ = false;
    RequestUnderWay refresh_;
    bool isRefreshWanted_ = false;
    /// The last refresh failed, and nobody fetched since.
    bool isRefreshMissing_ = false;
    Failure lastFailure_;
    RequestUnderWay retry_;
    SYCB::Backoff retryPauses_;
    /// Tells a refresh that began before Clear from one after it.
    std::uint64_t generation_ = 0;
    bool loggedOut_ = false;

    /// Each deletion and mark holds it until its end is posted.
    std::shared_ptr<const int> changesUnderWay_ = std::make_shared<const int>();

    /// Fetching, and the pause before fetching is tried again.
    OV::PooledExecutor worker_;
    /// Marks and deletions, in the order given.
    OV::PooledExecutor orderedWorker_;
    /// Writing "Mails.dat", and reading it again.
    OV::PooledExecutor fileWorker_;
};

}  // namespace SYC
