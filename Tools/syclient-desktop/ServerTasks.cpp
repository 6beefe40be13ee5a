#include "ServerTasks.hpp"

#include "CloseSession.hpp"
#include "EventLogUpdater.hpp"
#include "Log/PieChartUpdater.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "OVRoot/Logger.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

namespace ServerTasks {

namespace {

using Strategy = Syncra::Server::ManagementTool::Core::UserAsyncTaskExecutingImplementation;

}  // namespace

bool ListProjects::RunTask()
{
    try {
        projects = SYCB::CreateSyncraClient(signIn_)->GetProjects();
        return true;
    } catch (const Communication::ResponseContentException& error) {
        refusal = error.GetMessage();
    } catch (const Communication::UntrustedServerException& error) {
        refusal = u"Not connected. " + error.GetServer().DescribeProblems();
    } catch (const SYCB::IncopatibleServerVersionException& error) {
        refusal = error.GetMessage();
    } catch (const std::exception&) {
        refusal.clear();
    }
    return false;
}

bool CloseProject::RunTask()
{
    return SYC::CloseSession(*manager_, failure);
}

bool UpdateStatistics::RunTask()
{
    try {
        const auto name = source_.GetCacheName();
        SYC::BinCacheHandler cache(name);
        EventLogUpdater(source_, cache).Update();
        PieChartUpdater(source_, cache).Update();
        data = Charts::ReadCache(name);
        return true;
    } catch (const OV::Exception& error) {
        OV::Logger::Info(OV::Logger::Library, u"UpdateStatistics: %", {error.GetMessage()});
        return false;
    }
}

bool Run(const OV::Ref<Task>& task)
{
    return Strategy::Current().ExecuteTask(task, nullptr, Strategy::UsualDelayMilliseconds);
}

}  // namespace ServerTasks
