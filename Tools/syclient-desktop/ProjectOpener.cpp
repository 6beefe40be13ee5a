#include "ProjectOpener.hpp"

#include "AuthenticateOnCache.hpp"
#include "JoinedProject.hpp"
#include "OVRoot/Clock.hpp"
#include "Passwords.hpp"
#include "SyncraProtocol/ErrorCode.hpp"
#include "SyncraURL.hpp"
#include "Words.hpp"

#include <QMessageBox>
#include <QPushButton>

ProjectOpener::ProjectOpener(IO::Location dataFolder, OV::Executor& home, QWidget& window)
    : dataFolder_(std::move(dataFolder)), home_(home), window_(window)
{}

ProjectOpener::~ProjectOpener() = default;

void ProjectOpener::Cancel()
{
    if (opening_)
        opening_->isCancelled = true;
    if (join_)
        join_->Cancel();
}

void ProjectOpener::Open(SYC::Inner::ProjectConnectionInfo login)
{
    if (opening_)
        return;
    opening_ = Attempt{std::move(login)};
    if (opening_->login.password.empty())
        opening_->login.password =
            Passwords::Find(opening_->login.userName, opening_->login.serverName);
    if (opening_->login.password.empty() && !AskPassword({}))
        return;
    Begin();
}

bool ProjectOpener::AskPassword(const QString& reason)
{
    PasswordDialog dialog(opening_->login, reason, &window_);
    if (dialog.exec() != QDialog::Accepted) {
        GiveUp({});
        return false;
    }
    opening_->login.password = dialog.GetPassword();
    opening_->remember = dialog.IsToBeRemembered();
    return true;
}

ProjectSession::Manager ProjectOpener::MakeManager() const
{
    return std::make_shared<SYC::ClientProjectConnectionManager>(
        SYC::ToSyncraLocation(opening_->login), dataFolder_, nullptr);
}

/// A project that the user keeps offline asks no server.
void ProjectOpener::Begin()
{
    try {
        const auto manager = MakeManager();
        const auto cache = manager->FindCache();
        if (cache && cache->IsProjectForcedOffline())
            OpenCache(manager, tr("You chose to work offline."));
        else
            Join();
    } catch (const OV::Exception& error) {
        GiveUp(ToQt(error.GetMessage()));
    }
}

void ProjectOpener::Join()
{
    watch_.reset();
    join_ = std::make_unique<SYC::JoinProject>(SYC::ToSyncraLocation(opening_->login), dataFolder_,
                                               SYC::FlowExecutors{worker_, home_});
    watch_ = std::make_unique<FlowWatch>(*join_, [this] { JoinChanged(); });
    join_->Join(opening_->options);
}

void ProjectOpener::JoinChanged()
{
    if (join_->GetState() == SYC::FlowState::Succeeded)
        Joined();  // at once: what the project tells must find somebody who listens
    else if (!join_->IsRunning())
        // Not from within the flow: what comes may begin another one in its place.
        QMetaObject::invokeMethod(this, &ProjectOpener::NotJoined, Qt::QueuedConnection);
    else if (!join_->GetProgress().empty())
        emit Progress(
            tr("%1: %2 ...").arg(ToQt(opening_->login.projectName), ToQt(join_->GetProgress())));
}

void ProjectOpener::NotJoined()
{
    using SYC::CheckResult;
    const SYC::Failure failure = join_->GetFailure();
    const auto result = join_->GetResult();
    const QString reason = Words::ReasonOf(failure);
    auto& options = opening_->options;
    if (failure.kind == SYC::FailureKind::Cancelled) {
        GiveUp({});
    } else if (failure.code == static_cast<int>(Syncra::Protocol::ErrorCode::BadCredentials)) {
        if (AskPassword(reason))
            Join();
    } else if (result == CheckResult::SessionInUse && !options.allowTakeover) {
        options.allowTakeover =
            Ask(reason, tr("Take the session over? Whoever works there can send nothing any more."),
                tr("Take Over"));
        options.allowTakeover ? Join() : GiveUp({});
    } else if (result == CheckResult::ProjectMismatch && !options.newSession &&
               HasCachedSession()) {
        options.newSession = Ask(reason, tr("Begin a new session?"), tr("New Session"));
        options.newSession ? Join() : GiveUp({});
    } else if (result == CheckResult::Offline) {
        OpenCache(MakeManager(), reason);
    } else {
        GiveUp(reason);
    }
}

void ProjectOpener::Joined()
{
    const ProjectSession::Project project = join_->TakeProject();
    if (!project)
        return GiveUp(Words::ReasonOf(join_->GetRefreshFailure()));
    if (opening_->remember)
        Passwords::Remember(opening_->login, worker_);
    opening_.reset();
    emit Opened(project, true);
}

/// Whether the cache knows of a session, which then ended elsewhere.
bool ProjectOpener::HasCachedSession() const
{
    try {
        return !MakeManager()->GetSessionId().empty();
    } catch (const OV::Exception&) {
        return false;  // the cache cannot be read, as the check said
    }
}

bool ProjectOpener::Ask(const QString& reason, const QString& question, const QString& yes) const
{
    QMessageBox box(QMessageBox::Question, ToQt(opening_->login.projectName), reason,
                    QMessageBox::Cancel, &window_);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(question);
    const auto* agreed = box.addButton(yes, QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == agreed;
}

void ProjectOpener::OpenCache(const ProjectSession::Manager& manager, const QString& reason)
{
    try {
        const auto cache = manager->FindCache();
        if (!cache || cache->GetProjectId().empty())
            return GiveUp(reason);
        if (!SYC::AuthenticateOnCache(manager.get(), false))
            return GiveUp({});
        ReadBox(manager, cache->GetCacheFolderLocation());
    } catch (const OV::Exception& error) {
        GiveUp(
            reason + " " +
            tr("It cannot be opened without the server either: %1").arg(ToQt(error.GetMessage())));
    }
}

/// On a worker, for the mails may be many.
void ProjectOpener::ReadBox(const ProjectSession::Manager& manager, const IO::Location& folder)
{
    struct Found {
        std::unique_ptr<SYC::MailBox> box;
        QString problem;
    };
    const auto read = [self = QPointer<ProjectOpener>(this), found = std::make_shared<Found>(),
                       &home = home_, manager, folder] {
        try {
            found->box = std::make_unique<SYC::MailBox>(folder);
        } catch (const OV::Exception& error) {
            found->problem = ToQt(error.GetMessage());
        }
        (void)home.Execute(OV::MakeTask([self, found, manager] {
            if (!self)
                return;
            if (found->box && !self->opening_->isCancelled)
                self->TakeCache(manager, std::move(found->box));
            else
                self->GiveUp(found->problem);
        }));
    };
    if (!worker_.Execute(OV::MakeTask(read)))
        GiveUp(ToQt(SYC::MakeFailure(SYC::FailureKind::OutOfMemory).sentence));
}

void ProjectOpener::TakeCache(const ProjectSession::Manager& manager,
                              std::unique_ptr<SYC::MailBox> box)
{
    try {
        const auto cache = manager->FindCache();
        const auto project = std::make_shared<SYC::JoinedProject>(manager, cache->GetProjectId(),
                                                                  home_, std::move(box));
        cache->SetLastOpenProjectTime(OV::Clock::Current().Now());
        opening_.reset();
        emit Opened(project, false);
    } catch (const OV::Exception& error) {
        GiveUp(ToQt(error.GetMessage()));
    }
}

void ProjectOpener::GiveUp(const QString& reason)
{
    opening_.reset();
    emit NotOpened(reason);
}
