#pragma once

#include "ClientProjectConnectionManager.hpp"
#include "Commands.hpp"
#include "Loss.hpp"
#include "Messaging/MailClient.hpp"
#include "ProjectArguments.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"

#include <optional>

/// A project that was opened on this machine, with its members and its mail box, as a host keeps
/// them while it works. Everything happens on the main thread's message loop, which runs while one
/// of the functions waits.
class ProjectHost : private SYC::ProjectMembersObserver, private SYC::MailClientObserver {
public:
    /// Throws CommandFailure when the project was never opened here.
    ProjectHost(Context& context, const ProjectArguments& arguments);
    ~ProjectHost() override;

    /// Begins to listen to the server and waits for its answer. False, with a message, when it
    /// cannot be worked with; the exit code then says offline.
    bool GoOnline();
    /// The same for later on: whether the project is online still.
    bool RequireOnline();
    /// Never success.
    [[nodiscard]] Loss AskWhyOffline();
    /// Asks for the members and waits; false, with a message, when that failed.
    bool RefreshMembers();
    /// Opens the mail box and waits for its first refresh; false, with a message, when that failed:
    /// what this machine has can be used all the same.
    bool RefreshMails();
    /// Opens the mail box without waiting for the server.
    void OpenMails();

    /// Writes what the mail list has and its file has not; `otherwise` and the reason are told,
    /// with exit code 1, when the disk does not take it.
    void KeepMails(const std::string& otherwise);

    /// Runs the message loop until `done` holds, looking at it now and then; false when it took
    /// longer.
    static bool WaitUntil(const std::function<bool()>& done,
                          std::uint32_t milliseconds = PatienceMilliseconds);
    static constexpr std::uint32_t PatienceMilliseconds = 120'000;

    [[nodiscard]] SYC::MailClient& Mails() { return *mails_; }
    [[nodiscard]] SYC::ProjectMembers& Members() { return members_; }
    [[nodiscard]] OV::Executor& Executor() { return executor_; }
    [[nodiscard]] const SYC::Inner::ProjectConnectionInfo& Connection() const { return info_; }
    [[nodiscard]] bool IsOnline();

private:
    void _ProjectMembersChanged(SYC::ProjectMembers& members) override;
    void _ProjectMembersNotRefreshed(SYC::ProjectMembers& members,
                                     const OV::UniString& problem) override;
    void MailListChanged(SYC::MailClient&) override {}
    void NewMailExists(SYC::MailClient& client, OV::Ref<MailList> newMails,
                       SYC::RefreshMailListReason::Value reason) override;
    void RefreshMailsFailed(SYC::MailClient& client, const OV::UniString& problem) override;

    /// What a wait came to: nothing yet, done, or a problem.
    using Outcome = std::optional<OV::UniString>;
    bool Report(const Outcome& outcome, const std::string& what);

    Context& context_;
    SYC::Inner::ProjectConnectionInfo info_;
    SYCB::MessageLoopExecutor executor_;
    SYC::ClientProjectConnectionManager manager_;
    /// Of the beginning: another process may remove it any time.
    const std::shared_ptr<SYC::CachedProjectInfo> cache_;
    SYC::ProjectMembers members_;
    Outcome membersOutcome_;
    Outcome mailsOutcome_;
    std::unique_ptr<SYC::MailClient> mails_;
};
