#include "ProjectOpener.hpp"

#include "AuthenticateOnCache.hpp"
#include "Passwords.hpp"
#include "ReadProjectConnection.hpp"
#include "SyncraProtocol/ErrorCode.hpp"
#include "SyncraURL.hpp"
#include "Words.hpp"

#include <QMessageBox>
#include <QPushButton>

using SYC::CheckResult;

namespace {

/// Whether the cache knows of a session, which then ended elsewhere.
bool HasSession(const SYC::ClientProjectConnectionManager& manager)
{
    try {
        return !manager.GetSessionId().empty();
    } catch (const OV::Exception&) {
        return false;  // the cache cannot be read, as the check said
    }
}

}  // namespace

ProjectOpener::ProjectOpener(IO::Location dataFolder, OV::Executor& home, QWidget& window)
    : dataFolder_(std::move(dataFolder)), home_(home), window_(window)
{}

ProjectOpener::~ProjectOpener()
{
    Cancel();
}

void ProjectOpener::Cancel()
{
    if (opening_)
        opening_->stop.request_stop();
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
    Check();
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

void ProjectOpener::Check()
{
    const QString name = ToQt(opening_->login.projectName);
    auto manager = std::make_shared<SYC::ClientProjectConnectionManager>(
        SYC::ToSyncraLocation(opening_->login), dataFolder_, nullptr);
    try {
        const auto cache = manager->FindCache();
        if (cache && cache->IsProjectForcedOffline()) {
            OpenCache(manager, tr("You chose to work offline."));
            return;
        }
    } catch (const OV::Exception& error) {
        GiveUp(ToQt(error.GetMessage()));
        return;
    }
    SYC::CheckOptions options;
    options.forceOnline = true;
    options.allowTakeover = opening_->takeOver;
    options.newSession = opening_->newSession;
    options.stop = opening_->stop.get_token();
    options.progress = [self = QPointer<ProjectOpener>(this), name](SYC::CheckStep step) {
        if (self)
            emit self->Progress(tr("%1: %2 ...").arg(name, ToQt(SYC::ToText(step))));
    };
    auto connection = std::make_shared<SYC::ReadProjectConnection>(manager.get());
    SYC::StartCheck(std::move(connection), std::move(options), worker_, home_,
                    [self = QPointer<ProjectOpener>(this), manager](CheckResult result,
                                                                    const SYC::Failure& failure) {
                        if (self)
                            self->Ended(manager, result, failure);
                    });
}

void ProjectOpener::Ended(const ProjectSession::Manager& manager, CheckResult result,
                          const SYC::Failure& failure)
{
    const QString reason = Words::ReasonOf(failure);
    if (failure.kind == SYC::FailureKind::Cancelled) {
        GiveUp({});
    } else if (result == CheckResult::Passed) {
        if (opening_->remember)
            Passwords::Remember(opening_->login, worker_);
        ReadBox(manager, true);
    } else if (failure.code == static_cast<int>(Syncra::Protocol::ErrorCode::BadCredentials)) {
        if (AskPassword(reason))
            Check();
    } else if (result == CheckResult::SessionInUse && !opening_->takeOver) {
        opening_->takeOver =
            Ask(reason, tr("Take the session over? Whoever works there can send nothing any more."),
                tr("Take Over"));
        opening_->takeOver ? Check() : GiveUp({});
    } else if (result == CheckResult::ProjectMismatch && !opening_->newSession &&
               HasSession(*manager)) {
        opening_->newSession = Ask(reason, tr("Begin a new session?"), tr("New Session"));
        opening_->newSession ? Check() : GiveUp({});
    } else if (result == CheckResult::Offline) {
        OpenCache(manager, reason);
    } else {
        GiveUp(reason);
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
        if (!cache || cache->GetProjectId().empty()) {
            GiveUp(reason);
        } else if (SYC::AuthenticateOnCache(manager.get(), false)) {
            ReadBox(manager, false);
        } else {
            GiveUp({});
        }
    } catch (const OV::Exception& error) {
        GiveUp(
            reason + " " +
            tr("It cannot be opened without the server either: %1").arg(ToQt(error.GetMessage())));
    }
}

/// On a worker, for the mails may be many.
void ProjectOpener::ReadBox(const ProjectSession::Manager& manager, bool hasServerSession)
{
    const auto opening = std::make_shared<ProjectSession::Opening>();
    opening->manager = manager;
    opening->hasServerSession = hasServerSession;
    const auto read = [self = QPointer<ProjectOpener>(this), opening, &home = home_,
                       folder = manager->FindCache()->GetCacheFolderLocation()] {
        QString problem;
        try {
            opening->box = std::make_unique<SYC::MailBox>(folder);
        } catch (const OV::Exception& error) {
            problem = ToQt(error.GetMessage());
        }
        (void)home.Execute(OV::MakeTask([self, opening, problem] {
            if (!self)
                return;
            if (!opening->box || self->opening_->stop.stop_requested())
                return self->GiveUp(problem);
            self->opening_.reset();
            emit self->Opened(opening);
        }));
    };
    if (!worker_.Execute(OV::MakeTask(read)))
        GiveUp(ToQt(SYC::MakeFailure(SYC::FailureKind::OutOfMemory).sentence));
}

void ProjectOpener::GiveUp(const QString& reason)
{
    opening_.reset();
    emit NotOpened(reason);
}
