#include "Loss.hpp"

#include "Output.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

Loss AskForLoss(const IO::Location& project, const OV::UniString& projectId)
{
    try {
        const auto client = SYCB::CreateSyncraClient(project);
        if (projectId.empty() || client->IsMember(projectId))
            return {ExitCode::Success, {}};
        return {ExitCode::AccessDenied, "You are no member of it any more."};
    } catch (const OV::Exception& problem) {
        return {ExitCodeOf(problem), ForDisplay(problem.GetMessage())};
    }
}
