#pragma once

#include "JoinedProject.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SessionWatch.hpp"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <stop_token>

/// A project that is open in this process: its members, its mails, and how it stands with the
/// server. For the main thread.
class ProjectSession final : public QObject,
                             private SYC::ProjectMembersObserver,
                             private SYC::MailClientObserver,
                             private SYC::OutboxObserver,
                             private SYC::SessionEndObserver,
                             private SYCB::PresenceServiceObserver {
    Q_OBJECT
public:
    using Manager = std::shared_ptr<SYC::ClientProjectConnectionManager>;
    using Project = std::shared_ptr<SYC::JoinedProject>;

    enum class State {
        Connecting,
        Online,
        Offline,         ///< the server does not answer; it is tried again
        Refused,         ///< the server refuses the user; nobody tries again by himself
        OfflineByChoice  ///< the user works offline
    };

    /// `project` is this one's alone, and has mails; `hasServerSession` says that a check passed:
    /// otherwise one is run as soon as the server answers. `home` outlives the session.
    ProjectSession(Project project, bool hasServerSession, OV::Executor& home);
    ~ProjectSession() override;

    [[nodiscard]] const QString& GetName() const noexcept { return name_; }
    [[nodiscard]] const QString& GetServer() const noexcept { return server_; }
    /// The login name.
    [[nodiscard]] const QString& GetUser() const noexcept { return user_; }
    [[nodiscard]] QString GetFullName() const;
    [[nodiscard]] QString GetRole() const;
    [[nodiscard]] const SYC::Inner::ProjectConnectionInfo& GetLogin() const noexcept
    {
        return login_;
    }
    [[nodiscard]] const OV::UniString& GetProjectId() const noexcept { return projectId_; }
    [[nodiscard]] const Manager& GetManager() const noexcept { return manager_; }
    [[nodiscard]] SYC::MailClient& Mails() const noexcept { return *project_->GetMails(); }
    [[nodiscard]] SYC::ProjectMembers& Members() const noexcept { return project_->GetMembers(); }
    /// Whether somebody of that login name is seen on the server.
    [[nodiscard]] bool IsPresent(const OV::UniString& login) const
    {
        return present_.contains(login);
    }

    [[nodiscard]] State GetState() const;
    /// Why it is not online, in words.
    [[nodiscard]] QString GetReason() const;
    /// Until the server is tried again, rounded up; nothing when nobody waits for that.
    [[nodiscard]] std::optional<int> GetSecondsToTry() const;
    void WorkOffline(bool offline);
    void TryNow();
    /// In the place of one that was lost.
    void BeginNewSession() { TakeServerSession(true); }
    /// When the server last told anything.
    [[nodiscard]] const QDateTime& GetLastNews() const noexcept { return lastNews_; }

    /// Marks here and on the server.
    void MarkRead(const SYC::ClientMail& mail);

signals:
    /// The state, its reason or the time of the next try is another one.
    void StateChanged();
    void MembersChanged();
    /// The box changed in any way.
    void BoxChanged();
    /// So many mails came that nobody has seen; each of their senders once.
    void MailsArrived(int count, const QStringList& senders, const QString& firstText);
    /// Mails came into the outbox or left it.
    void WaitingChanged();
    /// The server session of the user ended elsewhere; `why` says by whom, when that is known. What
    /// waits here stays; only a new session goes on.
    void SessionLost(const QString& why);
    /// Something failed of which the user should know.
    void Failed(const QString& reason);

private:
    void _ProjectMembersChanged(SYC::ProjectMembers& members) override;
    void _ProjectMembersNotRefreshed(SYC::ProjectMembers& members,
                                     const OV::UniString& problem) override;
    void MailListChanged(SYC::MailClient& client) override;
    void NewMailExists(SYC::MailClient& client, OV::Ref<MailList> newMails,
                       SYC::RefreshMailListReason::Value reason) override;
    void MailDelivered(SYC::MailClient& client, const OV::UniString& localId,
                       const OV::UniString& serverId) override;
    void RefreshMailsFailed(SYC::MailClient& client, const OV::UniString& problem) override;
    void MailsNotWritten(SYC::MailClient& client, const OV::UniString& problem) override;
    void OutboxChanged() override;
    void _SessionEnded(const Syncra::Protocol::SessionEnd& end) override;
    void _ServiceStateChanged(SYCB::PresenceService& service, SYCB::PresenceState state) override;

    void ReadMembers();
    void WriteMembers();
    void TakeServerSession(bool newSession = false);
    void TookServerSession(SYC::CheckResult result, const SYC::Failure& failure);
    void FollowPresence();
    void LookAround();

    Project project_;
    const Manager manager_;
    OV::Executor& home_;
    SYC::Inner::ProjectConnectionInfo login_;
    const QString name_, server_, user_;
    std::shared_ptr<SYC::CachedProjectInfo> cache_;
    OV::UniString projectId_;
    QString role_;
    bool hasServerSession_;
    bool isTakingSession_ = false;
    SYC::Failure refusal_;  ///< of the check behind an opening without the server
    OV::HashSet<OV::UniString> present_;
    QDateTime lastNews_;
    QTimer second_;
    std::stop_source ending_;
    OV::PooledExecutor worker_{0, 2, 0};
    std::unique_ptr<SYC::SessionWatch> sessionWatch_;
    // Last, so that nobody is told once the rest goes.
    OV::Subscription membersSubscription_, mailsSubscription_, outboxSubscription_,
        presenceSubscription_, sessionSubscription_;
};
