#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Leaves a guarded block so that its clean-up runs; it has no message and no cause.
class SYC_API FinallyException : public OV::Exception {
public:
    /// The place is that of the throwing line.
    explicit FinallyException(OV::SourcePlace place = OV::SourcePlace::Here())
        : OV::Exception(OV::UniString(), place)
    {}
    OV_EXCEPTION_IDENTITY(FinallyException)
};

}  // namespace Syncra::Server::ManagementTool::Core
