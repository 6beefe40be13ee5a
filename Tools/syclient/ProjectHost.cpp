#include "ProjectHost.hpp"

#include "OVRoot/Exception.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraURL.hpp"

namespace {

constexpr std::uint32_t ConnectMilliseconds = 30'000;

/// Throws CommandFailure when there is none, or none with a project.
std::shared_ptr<SYC::CachedProjectInfo>
FindOpened(const SYC::ClientProjectConnectionManager& manager, const OV::UniString& projectName)
{
    auto cache = manager.FindCache();
    if (!cache || cache->GetProjectId().empty())
        throw CommandFailure(ExitCode::NotFound,
                             u"\"" + projectName +
                                 u"\" has not been opened by this user on this machine yet. Run "
                                 u"\"syclient open\" first.");
    return cache;
}

/// Everything but the password is looked at before anybody is asked for one.
SYC::Inner::ProjectConnectionInfo ReadOpened(const Context& context,
                                             const ProjectArguments& arguments)
{
    const auto described = arguments.Describe();
    const SYC::ClientProjectConnectionManager lookUp(SYC::ToSyncraLocation(described),
                                                     context.DataFolder(), {});
    (void)FindOpened(lookUp, described.projectName);
    return arguments.Read();
}

}  // namespace

ProjectHost::ProjectHost(Context& context, const ProjectArguments& arguments)
    : context_(context), info_(ReadOpened(context, arguments)),
      manager_(SYC::ToSyncraLocation(info_), context.DataFolder(), {}),
      cache_(FindOpened(manager_, info_.projectName)),
      members_(manager_.GetSignalClient(), manager_, executor_)
{
    members_.Attach(*this);
    // Mails need none; who shows them says so.
    members_.SetPhotosWanted(false);
}

ProjectHost::~ProjectHost()
{
    if (mails_)
        mails_->Detach(*this);
    mails_.reset();
    members_.Detach(*this);
    manager_.StopSignals();
    info_.Clear();
}

bool ProjectHost::WaitUntil(const std::function<bool()>& done, std::uint32_t milliseconds)
{
    // The presence changes on another thread, which posts nothing; an answer may be lost.
    constexpr std::uint32_t look = 20;
    std::uint32_t waited = 0;
    while (!SYCB::MessageLoop::RunUntil(done, look))
        if ((waited += look) >= milliseconds)
            return false;
    // What was posted before `done` came to hold.
    SYCB::MessageLoop::RunPending();
    return true;
}

bool ProjectHost::IsOnline()
{
    return manager_.GetSignalClient().GetPresenceService().IsOnline();
}

bool ProjectHost::GoOnline()
{
    context_.output.Progress("Connecting as " + DescribeLogin(info_) + " ...");
    manager_.StartSignals(cache_->GetProjectId());
    auto& presence = manager_.GetSignalClient().GetPresenceService();
    (void)WaitUntil([&] { return presence.GetState() != SYCB::PresenceState::Unknown; },
                    ConnectMilliseconds);
    return RequireOnline();
}

bool ProjectHost::RequireOnline()
{
    if (IsOnline())
        return true;
    const Loss loss = AskWhyOffline();
    context_.exitCode = loss.exitCode;
    context_.output.Error("The project cannot be worked with as " + DescribeLogin(info_) + ": " +
                          loss.reason);
    return false;
}

Loss ProjectHost::AskWhyOffline()
{
    auto loss = AskForLoss(manager_.GetProjectLocation(), cache_->GetProjectId());
    if (loss.exitCode == ExitCode::Success)
        return {ExitCode::Offline, "The server could not be reached for a while. Try again."};
    return loss;
}

bool ProjectHost::Report(const Outcome& outcome, const std::string& what)
{
    if (outcome && outcome->empty())
        return true;
    const Loss loss = outcome ? AskWhyOffline() : Loss{};
    context_.exitCode = loss.exitCode;
    context_.output.Error(what + (outcome
                                      ? ": " + ForDisplay(*outcome)
                                      : ": the server takes too long, or its answer was lost."));
    return false;
}

bool ProjectHost::RefreshMembers()
{
    context_.output.Progress("Asking for the members ...");
    membersOutcome_.reset();
    members_.Init();
    (void)WaitUntil([this] { return membersOutcome_ || !members_.IsRefreshing(); });
    return Report(membersOutcome_, "The members cannot be had");
}

void ProjectHost::OpenMails()
{
    mails_ = std::make_unique<SYC::MailClient>(manager_.GetSignalClient(), manager_, members_,
                                               cache_->GetCacheFolderLocation(), executor_);
    mails_->Attach(*this);
}

bool ProjectHost::RefreshMails()
{
    context_.output.Progress("Fetching mails ...");
    OpenMails();
    (void)WaitUntil([this] { return mailsOutcome_ || !mails_->IsRefreshing(); });
    return Report(mailsOutcome_, "New mails cannot be fetched");
}

void ProjectHost::KeepMails(const std::string& otherwise)
{
    if (!mails_->HasUnwrittenMails())
        return;
    try {
        mails_->WriteToDisc();
    } catch (const OV::Exception& error) {
        context_.exitCode = ExitCode::Failure;
        context_.output.Error(otherwise + " " + ForDisplay(OV::MessageWithCauses(error)));
    }
}

void ProjectHost::_ProjectMembersChanged(SYC::ProjectMembers&)
{
    membersOutcome_.emplace();
}

void ProjectHost::_ProjectMembersNotRefreshed(SYC::ProjectMembers&, const OV::UniString& problem)
{
    membersOutcome_ = problem;
}

void ProjectHost::NewMailExists(SYC::MailClient&, OV::Ref<MailList>,
                                SYC::RefreshMailListReason::Value)
{
    mailsOutcome_.emplace();
}

void ProjectHost::RefreshMailsFailed(SYC::MailClient&, const OV::UniString& problem)
{
    mailsOutcome_ = problem;
}
