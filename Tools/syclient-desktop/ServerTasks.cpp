#include "ServerTasks.hpp"

#include "CloseSession.hpp"
#include "EventLogUpdater.hpp"
#include "Log/PieChartUpdater.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "OVRoot/Logger.hpp"

namespace ServerTasks {

namespace {

using Strategy = Syncra::Server::ManagementTool::Core::UserAsyncTaskExecutingImplementation;

}  // namespace

bool CloseProject::RunTask()
{
    return SYC::CloseSession(*manager_, failure);
}

bool Run(const OV::Ref<Task>& task)
{
    return Strategy::Current().ExecuteTask(task, nullptr, Strategy::UsualDelayMilliseconds);
}

void UpdateLog(const LogSource& source, SYC::BinCacheHandler& cache)
{
    EventLogUpdater(source, cache).Update();
    try {
        PieChartUpdater(source, cache).Update();
    } catch (const OV::Exception& error) {
        OV::Logger::Info(OV::Logger::Library, u"The load of the server is not shown: %",
                         {error.GetMessage()});
    }
}

}  // namespace ServerTasks
