#include "ProjectSession.hpp"

#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "PresenceManager/PresenceManager.hpp"
#include "ReadProjectConnection.hpp"
#include "StartCheck.hpp"
#include "SyncraProtocol/ErrorCode.hpp"
#include "SyncraURL.hpp"
#include "Words.hpp"

#include <algorithm>

namespace {

using Presence = SYCB::PresenceState;

/// So that recipients are known while the server is away.
constexpr OV::UniStringView MembersFile = u"Members.dat";
constexpr std::uint64_t MostBytesOfMembers = 64 * 1024 * 1024;
constexpr int LookMilliseconds = 1000;

}  // namespace

ProjectSession::ProjectSession(Project project, bool hasServerSession, OV::Executor& home)
    : project_(std::move(project)), manager_(project_->GetSharedManager()), home_(home),
      login_(SYC::ToConnectionInfo(manager_->GetProjectLocation())),
      name_(ToQt(login_.projectName)),
      server_(Words::ServerName(ToQt(login_.serverName), login_.port)),
      user_(ToQt(login_.userName)), cache_(manager_->FindCache()),
      hasServerSession_(hasServerSession)
{
    if (!cache_ || project_->GetMails() == nullptr)
        throw OV::NullReferenceException();
    projectId_ = cache_->GetProjectId();
    role_ = ToQt(cache_->GetRoleName());
    // What was posted home since the project was opened comes after this.
    ReadMembers();
    membersSubscription_ = Members().Subscribe(*this);
    mailsSubscription_ = Mails().Subscribe(*this);
    outboxSubscription_ = Mails().SubscribeOutbox(*this);
    sessionWatch_ =
        std::make_unique<SYC::SessionWatch>(manager_->GetSignalClient(), *manager_, home);
    sessionSubscription_ = sessionWatch_->Subscribe(*this);
    auto& presence = manager_->GetSignalClient().GetPresenceService();
    presenceSubscription_ = presence.Subscribe(*this, home);
    if (presence.IsOnline())
        _ServiceStateChanged(presence, Presence::Online);
    connect(&second_, &QTimer::timeout, this, &ProjectSession::LookAround);
    second_.start(LookMilliseconds);
}

ProjectSession::~ProjectSession()
{
    ending_.request_stop();
    sessionSubscription_ = {};
    sessionWatch_.reset();
    presenceSubscription_ = {};
    outboxSubscription_ = {};
    mailsSubscription_ = {};
    membersSubscription_ = {};
    worker_.Cancel();
    SYC::PresenceManager::GetInstance().StopPresenceCheck();
    project_.reset();
    login_.Clear();
}

QString ProjectSession::GetFullName() const
{
    OV::UniString name;
    return Members().GetFullNameFromLoginName(login_.userName, name) ? ToQt(name) : user_;
}

QString ProjectSession::GetRole() const
{
    SYC::ProjectMembers::MemberId id = 0;
    const SYCB::UserAttributes* attributes = nullptr;
    if (Members().GetUserIdFromLoginName(login_.userName, id) &&
        Members().GetUserAttributesFromId(id, attributes))
        return ToQt(attributes->roleName);
    return role_;
}

ProjectSession::State ProjectSession::GetState() const
{
    auto& signals_ = manager_->GetSignalClient();
    if (signals_.IsForcedOffline())
        return State::OfflineByChoice;
    switch (signals_.GetPresenceService().GetState()) {
    case Presence::Online:
        return refusal_ && !refusal_.mayTryAgain ? State::Refused : State::Online;
    case Presence::Unknown:
        return State::Connecting;
    default:
        return Syncra::Protocol::RefusesUser(manager_->GetLastFailure().code) ? State::Refused
                                                                              : State::Offline;
    }
}

QString ProjectSession::GetReason() const
{
    if (GetState() == State::Refused && refusal_)
        return Words::ReasonOf(refusal_);
    return Words::ReasonOf(manager_->GetLastFailure());
}

std::optional<int> ProjectSession::GetSecondsToTry() const
{
    const auto time = manager_->GetSignalClient().GetNextTry();
    if (!time)
        return std::nullopt;
    const auto left = *time - std::chrono::steady_clock::now();
    return std::max(0, static_cast<int>(std::chrono::ceil<std::chrono::seconds>(left).count()));
}

void ProjectSession::WorkOffline(bool offline)
{
    manager_->GetSignalClient().SetForcedOffline(offline);
    if (!isTakingSession_)
        cache_->SetProjectForcedOffline(offline);
    emit StateChanged();
}

void ProjectSession::TryNow()
{
    refusal_ = {};
    if (GetState() == State::Refused)
        manager_->StartSignals(projectId_);
    else
        manager_->GetSignalClient().TryNow();
    if (GetState() == State::Online)
        TakeServerSession();
    emit StateChanged();
}

void ProjectSession::MarkRead(const SYC::ClientMail& mail)
{
    if (!mail.IsRead())
        Mails().SetMailRead(mail.GetId(), true);
}

void ProjectSession::_ServiceStateChanged(SYCB::PresenceService&, Presence state)
{
    if (state == Presence::Online) {
        lastNews_ = QDateTime::currentDateTime();
        TakeServerSession();
        FollowPresence();
    }
    emit StateChanged();
}

void ProjectSession::_SessionEnded(const Syncra::Protocol::SessionEnd& end)
{
    hasServerSession_ = false;
    refusal_ = SYC::MakeFailure(SYC::FailureKind::ProjectMismatch);
    const QString reason = ToQt(end.reason);
    emit SessionLost(tr("%1 ended your session.").arg(ToQt(end.endedByName)) +
                     (reason.isEmpty() ? QString() : "\n\n" + reason));
    emit StateChanged();
}

void ProjectSession::TakeServerSession(bool newSession)
{
    if (hasServerSession_ || isTakingSession_)
        return;
    isTakingSession_ = true;
    SYC::CheckOptions options;
    options.forceOnline = true;
    options.newSession = newSession;
    options.stop = ending_.get_token();
    auto connection = std::make_shared<SYC::ReadProjectConnection>(manager_.get());
    // The end may come when this session is gone.
    SYC::StartCheck(connection, std::move(options), worker_, home_,
                    [session = QPointer<ProjectSession>(this)](SYC::CheckResult result,
                                                               const SYC::Failure& failure) {
                        if (session)
                            session->TookServerSession(result, failure);
                    });
}

void ProjectSession::TookServerSession(SYC::CheckResult result, const SYC::Failure& failure)
{
    isTakingSession_ = false;
    hasServerSession_ = result == SYC::CheckResult::Passed;
    refusal_ = failure;
    if (result == SYC::CheckResult::ProjectMismatch && !manager_->GetSessionId().empty())
        emit SessionLost({});
    else if (result != SYC::CheckResult::Passed && result != SYC::CheckResult::Offline)
        emit Failed(Words::ReasonOf(failure));
    emit StateChanged();
}

void ProjectSession::FollowPresence()
{
    (void)worker_.Execute(OV::MakeTask([login = login_] {
        try {
            SYC::PresenceManager::GetInstance().SetTargetServer(login.serverName, login.port,
                                                                login.userName, login.password);
        } catch (const OV::Exception& error) {
            // The list then tells who works alone.
            OV::Logger::Info(OV::Logger::Library, u"Who is present is not known: %",
                             {error.GetMessage()});
        }
    }));
}

void ProjectSession::LookAround()
{
    if (GetState() != State::Online)
        emit StateChanged();
    auto present = SYC::PresenceManager::GetInstance().GetActivePresenceIds();
    if (present == present_)
        return;
    present_ = std::move(present);
    emit MembersChanged();
}

void ProjectSession::ReadMembers()
{
    const auto file = cache_->GetCacheFolderLocation().Appended(OV::UniString(MembersFile));
    try {
        const auto bytes = IO::File::ReadAll(file, MostBytesOfMembers);
        OV::MemoryIChannel channel(bytes);
        if (Members().Read(channel) == OV::ChannelOk)
            (void)Members().ReadPhotos(channel);
    } catch (const IO::IOException&) {
        // There is none before the first answer of a server.
    }
}

void ProjectSession::WriteMembers()
{
    OV::MemoryOChannel channel;
    if (Members().Write(channel) != OV::ChannelOk ||
        Members().WritePhotos(channel) != OV::ChannelOk)
        return;
    try {
        (void)IO::File::Replace(
            cache_->GetCacheFolderLocation().Appended(OV::UniString(MembersFile)), channel.Bytes());
    } catch (const IO::IOException& error) {
        emit Failed(ToQt(error.GetMessage()));
    }
}

void ProjectSession::_ProjectMembersChanged(SYC::ProjectMembers&)
{
    lastNews_ = QDateTime::currentDateTime();
    WriteMembers();
    emit MembersChanged();
}

void ProjectSession::_ProjectMembersNotRefreshed(SYC::ProjectMembers&, const OV::UniString& problem)
{
    if (GetState() == State::Online)
        emit Failed(ToQt(problem));
}

void ProjectSession::MailListChanged(SYC::MailClient&)
{
    emit BoxChanged();
}

void ProjectSession::NewMailExists(SYC::MailClient&, OV::Ref<MailList> newMails,
                                   SYC::RefreshMailListReason::Value)
{
    lastNews_ = QDateTime::currentDateTime();
    int count = 0;
    QStringList senders;
    QString firstText;
    OV::HashSet<OV::UniString> known;
    for (const auto& mail : *newMails) {
        if (mail->IsCopy() || mail->IsRead() || mail->IsHistorical())
            continue;
        if (count++ == 0)
            firstText = ToQt(mail->GetBodyText());
        if (known.insert(mail->GetSenderFullName()).second)
            senders += ToQt(mail->GetSenderFullName());
    }
    emit BoxChanged();
    if (count > 0)
        emit MailsArrived(count, senders, firstText);
}

void ProjectSession::MailDelivered(SYC::MailClient&, const OV::UniString&, const OV::UniString&)
{
    lastNews_ = QDateTime::currentDateTime();
    emit WaitingChanged();
}

void ProjectSession::RefreshMailsFailed(SYC::MailClient&, const OV::UniString& problem)
{
    if (GetState() == State::Online)
        emit Failed(ToQt(problem));
}

void ProjectSession::MailsNotWritten(SYC::MailClient&, const OV::UniString& problem)
{
    emit Failed(ToQt(problem));
}

void ProjectSession::OutboxChanged()
{
    emit WaitingChanged();
}
