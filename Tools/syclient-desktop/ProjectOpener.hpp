#pragma once

#include "FlowWatch.hpp"
#include "JoinProject.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "ProjectSession.hpp"

#include <optional>

class QWidget;

/// The way to an open project: finds or asks for the password, joins, asks what a person has to
/// decide, and opens the cache when the server does not answer. One project at a time; for the main
/// thread.
class ProjectOpener final : public QObject {
    Q_OBJECT
public:
    /// `window` is the one that questions stand before; both references outlive it.
    ProjectOpener(IO::Location dataFolder, OV::Executor& home, QWidget& window);
    ~ProjectOpener() override;

    /// Without a password in `login` the remembered one is used, or one is asked for. Nothing
    /// happens while another project is being opened.
    void Open(SYC::Inner::ProjectConnectionInfo login);
    void Cancel();

signals:
    /// What is being done.
    void Progress(const QString& text);
    void Opened(const ProjectSession::Project& project, bool hasServerSession);
    /// Whatever came of it but Opened; `reason` is empty when the user gave up.
    void NotOpened(const QString& reason);

private:
    struct Attempt {
        SYC::Inner::ProjectConnectionInfo login;
        bool remember = false;
        bool isCancelled = false;
        SYC::JoinOptions options{.waitsForRefresh = false};
    };

    bool AskPassword(const QString& reason);
    void Begin();
    void Join();
    void JoinChanged();
    void Joined();
    void NotJoined();
    [[nodiscard]] bool HasCachedSession() const;
    [[nodiscard]] ProjectSession::Manager MakeManager() const;
    [[nodiscard]] bool Ask(const QString& reason, const QString& question,
                           const QString& yes) const;
    void OpenCache(const ProjectSession::Manager& manager, const QString& reason);
    void ReadBox(const ProjectSession::Manager& manager, const IO::Location& folder);
    void TakeCache(const ProjectSession::Manager& manager, std::unique_ptr<SYC::MailBox> box);
    void GiveUp(const QString& reason);

    const IO::Location dataFolder_;
    OV::Executor& home_;
    QWidget& window_;
    std::optional<Attempt> opening_;
    OV::PooledExecutor worker_{0, 2, 0};
    std::unique_ptr<SYC::JoinProject> join_;
    // Last, so that nobody is told once the rest goes.
    std::unique_ptr<FlowWatch> watch_;
};
