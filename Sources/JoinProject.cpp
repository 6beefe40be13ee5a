#include "JoinProject.hpp"

#include "CheckOptions.hpp"
#include "Flow/Detail/CacheOfProject.hpp"
#include "Flow/Detail/FlowText.hpp"
#include "Flow/Detail/PostedEnd.hpp"
#include "Flow/Detail/QuickClient.hpp"
#include "JoinedProject.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "ReadProjectConnection.hpp"
#include "RegisteredProjects.hpp"
#include "SyncraURL.hpp"

#include <optional>

namespace SYC {

namespace {

using Manager = ClientProjectConnectionManager;

/// What a join made so far, so that it can be taken back.
class Attempt {
public:
    Attempt(const IO::Location& project, const IO::Location& folder)
        : project_(project), folder_(folder), wasCached_(FindCacheOf(project, folder) != nullptr),
          manager_(std::make_unique<Manager>(project, folder, nullptr))
    {}

    [[nodiscard]] CheckResult Check(const JoinOptions& options,
                                    const std::function<void(CheckStep)>& report)
    {
        std::stop_source stop;
        connection_.emplace(manager_.get());
        CheckOptions check;
        check.newSession = options.newSession;
        check.allowTakeover = options.allowTakeover;
        check.stop = stop.get_token();
        check.progress = [&](CheckStep step) {
            report(step);
            if (step == CheckStep::TakeSession && !LookForSessions())
                stop.request_stop();
        };
        const CheckResult result = connection_->Check(check);
        if (result == CheckResult::Passed) {
            connection_->GetCache()->SetLastOpenProjectTime(OV::Clock::Current().Now());
            ReadBox();
        }
        return result;
    }
    /// The mails of the cache. Throws what reading them threw.
    [[nodiscard]] std::unique_ptr<MailBox> TakeBox()
    {
        if (boxProblem_)
            std::rethrow_exception(boxProblem_);
        return std::move(box_);
    }
    [[nodiscard]] Failure GetFailure() const
    {
        return problem_ ? DescribeException(problem_) : connection_->GetLastFailure();
    }
    [[nodiscard]] const OV::UniString& GetProjectId() const { return connection_->GetProjectId(); }
    [[nodiscard]] std::unique_ptr<Manager> TakeManager()
    {
        connection_.reset();
        return std::move(manager_);
    }

    /// Takes back what was made. What cannot be is logged: a session is taken up by the next join,
    /// a cache that somebody else began to use is his.
    void Undo() noexcept
    {
        const OV::InterruptionScope inPeace{std::stop_token()};
        try {
            if (mayHaveBegunSession_)
                CloseSessions(GetProjectId());
        } catch (...) {
            OV::LogCurrentException(OV::Logger::Library, u"% may stay: %", u"A new session");
        }
        try {
            TakeManager().reset();
            if (const auto cache = FindCacheOf(project_, folder_); cache && !wasCached_)
                registeredProjects().RemoveProject(cache->GetCacheFolderLocation());
        } catch (...) {
            OV::LogCurrentException(OV::Logger::Library, u"% stays: %", u"A new cache");
        }
    }

private:
    /// Here, on a worker, for they may be many.
    void ReadBox() noexcept
    {
        try {
            box_ = std::make_unique<MailBox>(connection_->GetCache()->GetCacheFolderLocation());
        } catch (...) {
            boxProblem_ = std::current_exception();
        }
    }
    /// Whether the user has one before a new one may begin; nothing begins when nobody can say.
    bool LookForSessions() noexcept
    {
        try {
            mayHaveBegunSession_ =
                connection_->GetSyncraClient()->GetSessions(GetProjectId()).empty();
        } catch (...) {
            problem_ = std::current_exception();
        }
        return !problem_;
    }
    /// Those of the user, who had none: the answer to the request that began one may be lost.
    void CloseSessions(const OV::UniString& projectId) const
    {
        const auto info = ToConnectionInfo(project_);
        const auto client =
            ConnectQuickly({info.serverName, info.port, info.userName, info.password});
        for (const auto& session : client->GetSessions(projectId))
            client->CloseSession(session.id);
    }

    const IO::Location project_;
    const IO::Location folder_;
    const bool wasCached_;
    bool mayHaveBegunSession_ = false;
    std::exception_ptr problem_;
    std::unique_ptr<MailBox> box_;
    std::exception_ptr boxProblem_;
    std::unique_ptr<Manager> manager_;
    std::optional<ReadProjectConnection> connection_;
};

}  // namespace

/// Waits for members and mails, and tells the flow from the home executor: not from within them,
/// for whoever hears of the end may close the project.
class JoinProject::FirstRefresh final : public std::enable_shared_from_this<FirstRefresh>,
                                        private ProjectMembersObserver,
                                        private MailClientObserver {
public:
    FirstRefresh(JoinProject& join, JoinedProject& open)
        : join_(join), awaitsMails_(open.GetMails() != nullptr),
          membersSubscription_(open.GetMembers().Subscribe(*this))
    {
        if (awaitsMails_)
            mailsSubscription_ = open.GetMails()->Subscribe(*this);
    }

private:
    void _ProjectMembersChanged(ProjectMembers&) override { TakeMembers({}); }
    void _ProjectMembersNotRefreshed(ProjectMembers& members, const OV::UniString&) override
    {
        TakeMembers(members.GetLastFailure());
    }
    void MailListChanged(MailClient&) override {}
    void NewMailExists(MailClient&, OV::Ref<MailList>, RefreshMailListReason::Value) override
    {
        TakeMails({});
    }
    void RefreshMailsFailed(MailClient& mails, const OV::UniString&) override
    {
        TakeMails(mails.GetLastFailure());
    }

    void TakeMembers(const Failure& failure)
    {
        awaitsMembers_ = false;
        Take(failure);
    }
    void TakeMails(const Failure& failure)
    {
        awaitsMails_ = false;
        Take(failure);
    }
    void Take(const Failure& failure)
    {
        if (failure)
            failure_ = failure;
        if (awaitsMembers_ || awaitsMails_)
            return;
        PostHome(join_.GetExecutors().home, u"a join", [weak = weak_from_this()] {
            if (const auto self = weak.lock())
                self->join_.EndRefresh(self->failure_);
        });
    }

    JoinProject& join_;
    bool awaitsMembers_ = true;
    bool awaitsMails_;
    Failure failure_;
    OV::Subscription membersSubscription_;
    OV::Subscription mailsSubscription_;
};

JoinProject::JoinProject(IO::Location project, IO::Location dataFolder,
                         const FlowExecutors& executors)
    : Flow(executors), project_(std::move(project)), dataFolder_(std::move(dataFolder))
{
    (void)ToCheckedConnectionInfo(project_);
}

JoinProject::~JoinProject() = default;

void JoinProject::Join(const JoinOptions& options)
{
    refresh_.reset();
    open_.reset();
    refreshFailure_ = {};
    result_ = CheckResult::Offline;
    Start([this, options, project = project_,
           dataFolder = dataFolder_](const Report& report) -> Result {
        const auto attempt = std::make_shared<Attempt>(project, CacheFolderOr(dataFolder));
        const CheckResult result =
            attempt->Check(options, [&](CheckStep step) { report(ToText(step)); });
        const Failure failure = attempt->GetFailure();
        if (failure) {
            attempt->Undo();
            return {[this, result] { result_ = result; }, failure};
        }
        return {[this, attempt, waits = options.waitsForRefresh] {
                    result_ = CheckResult::Passed;
                    const OV::UniString id = attempt->GetProjectId();
                    try {
                        open_ = std::make_unique<JoinedProject>(
                            attempt->TakeManager(), id, GetExecutors().home, attempt->TakeBox());
                        if (open_->GetManager().GetSignalClient().IsForcedOffline())
                            refreshFailure_ = MakeFailure(FailureKind::WorkingOffline);
                        else if (waits)
                            BeginRefresh();
                    } catch (...) {
                        refreshFailure_ = DescribeException();
                    }
                },
                {}};
    });
}

void JoinProject::BeginRefresh()
{
    refresh_ = std::make_shared<FirstRefresh>(*this, *open_);
    GoOn(GetText(FlowText::FetchMembersAndMails));
}

void JoinProject::_Cancelled()
{
    EndRefresh(MakeFailure(FailureKind::Cancelled));
}

void JoinProject::EndRefresh(Failure failure)
{
    refresh_.reset();
    refreshFailure_ = std::move(failure);
    End({});
}

std::unique_ptr<JoinedProject> JoinProject::TakeProject()
{
    refresh_.reset();
    return std::move(open_);
}

}  // namespace SYC
