#pragma once

#include "CheckResult.hpp"
#include "Flow/Flow.hpp"
#include "IO/Location.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

class JoinedProject;

/// What the user agreed to after a join failed for the want of it, and when the join ends.
struct JoinOptions {
    bool allowTakeover = false;  ///< of a session that is in use on another computer (result 3)
    bool newSession = false;     ///< in the place of a cached one that ended elsewhere (result 5)
    /// Until members and mails are fetched for the first time, or cannot be. Otherwise the flow
    /// ends once the session stands, and they come to the observers of the joined project.
    bool waitsForRefresh = true;
};

/// Joins a project, or opens one that is cached: makes the cache, takes or starts the session, then
/// fetches members and mails for the first time. A join that fails or is cancelled before the
/// session stands leaves neither a cache nor a session that it made, as far as the server can be
/// told: it ends within 100 ms, or two seconds for each request of giving a session back. From then
/// on the project is joined, and the flow succeeds whatever becomes of members and
/// mails: what could not be fetched comes later, and GetRefreshFailure says why.
class SYC_API JoinProject final : public Flow {
public:
    /// `project` is a project URL (OV::IllegalArgumentException otherwise), `dataFolder` where the
    /// caches stand, the main project folder when it is empty.
    JoinProject(IO::Location project, IO::Location dataFolder, const FlowExecutors& executors);
    ~JoinProject() override;

    /// Begins to join; what was under way is asked to stop.
    void Join(const JoinOptions& options = {});

    /// How the check of the last join ended.
    [[nodiscard]] CheckResult GetResult() const noexcept { return result_; }
    /// Why members or mails of a joined project are not known yet; none when they are.
    [[nodiscard]] const Failure& GetRefreshFailure() const noexcept { return refreshFailure_; }
    /// The project that was joined, once; null before. Without anybody who takes it, it is closed
    /// with the flow, its session and cache stay.
    [[nodiscard]] std::unique_ptr<JoinedProject> TakeProject();

private:
    class FirstRefresh;

    void _Cancelled() override;
    void BeginRefresh();
    void EndRefresh(Failure failure);

    IO::Location project_;
    IO::Location dataFolder_;
    CheckResult result_ = CheckResult::Offline;
    Failure refreshFailure_;
    std::unique_ptr<JoinedProject> open_;
    std::shared_ptr<FirstRefresh> refresh_;
};

}  // namespace SYC
