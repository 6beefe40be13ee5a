#include "ManagementTool/RunAtScopeEnd.hpp"

#include "OVRoot/Detail/RunLogged.hpp"

namespace Syncra::Server::ManagementTool::Core {

RunAtScopeEnd::~RunAtScopeEnd()
{
    if (!task_)
        return;
    OV::Detail::RunLogged("RunAtScopeEnd", [this] { task_->Run(); });
}

}  // namespace Syncra::Server::ManagementTool::Core
