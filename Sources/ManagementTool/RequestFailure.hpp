#pragma once

#include "Failure.hpp"
#include "ManagementTool/ErrorType.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// How a request to a repository failed: what an alert tells, and what it leaves out.
struct RequestFailure : SYC::Failure {
    ErrorType type = ErrorType::NoError;  ///< which alert tells it
    /// Where it was thrown, for the debug output.
    OV::String sourceName;
    int line = 0;  ///< of that source
};

/// Called in a handler: what the exception that is being handled means.
///
/// | handled | type |
/// |---|---|
/// | TargetNotFoundException | ObjectRemoved |
/// | UserRepositoryObjectAlreadyExistsException | NameAlreadyExists |
/// | UserRepositoryObjectInUseException | OtherError |
/// | UserRepositoryObjectNotFoundException | ObjectMissing |
/// | UserRepositoryValidatorException | ServerRefused |
/// | OV::InterruptedException, any other UserRepositoryException | CannotConnect |
/// | anything else | RequestFailed |
[[nodiscard]] SYC_API RequestFailure DescribeFailure() noexcept;

}  // namespace Syncra::Server::ManagementTool::Core
