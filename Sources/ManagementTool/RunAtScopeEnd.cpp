#include "ManagementTool/RunAtScopeEnd.hpp"

#include "OVRoot/Logger.hpp"

namespace Syncra::Server::ManagementTool::Core {

RunAtScopeEnd::~RunAtScopeEnd()
{
    if (!task_)
        return;
    try {
        task_->Run();
    } catch (const std::exception& error) {
        OV::Logger::Error("SYClient", u"A clean-up at the end of a scope failed: %",
                          {error.what()});
    }
}

}  // namespace Syncra::Server::ManagementTool::Core
