#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// The object that a request names does not exist on the server.
class SYC_API TargetNotFoundException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(TargetNotFoundException)
};

}  // namespace Syncra::Server::ManagementTool::Core
