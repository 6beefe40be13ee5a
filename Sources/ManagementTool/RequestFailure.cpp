#include "ManagementTool/RequestFailure.hpp"

#include "ManagementTool/TargetNotFoundException.hpp"
#include "SyncraServerManagement/UserRepositoryExceptions.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

using namespace Management;

template <class Thrown>
bool Is(const OV::Exception& exception)
{
    return dynamic_cast<const Thrown*>(&exception) != nullptr;
}

/// The first row that fits counts: the last one's exception is the base of those before it.
constexpr struct {
    bool (*fits)(const OV::Exception&);
    ErrorType type;
} Types[] = {
    {Is<TargetNotFoundException>, ErrorType::ObjectRemoved},
    {Is<UserRepositoryObjectAlreadyExistsException>, ErrorType::NameAlreadyExists},
    {Is<UserRepositoryObjectInUseException>, ErrorType::OtherError},
    {Is<UserRepositoryObjectNotFoundException>, ErrorType::ObjectMissing},
    {Is<UserRepositoryValidatorException>, ErrorType::ServerRefused},
    {Is<OV::InterruptedException>, ErrorType::CannotConnect},
    {Is<UserRepositoryException>, ErrorType::CannotConnect},
};

ErrorType TypeOf(const OV::Exception& exception)
{
    for (const auto& row : Types)
        if (row.fits(exception))
            return row.type;
    return ErrorType::RequestFailed;
}

}  // namespace

RequestFailure DescribeFailure() noexcept
{
    RequestFailure failure{SYC::DescribeException(), ErrorType::RequestFailed, {}, 0};
    try {
        throw;
    } catch (const OV::Exception& exception) {
        failure.type = TypeOf(exception);
        failure.sourceName = exception.GetSourceName();
        failure.line = exception.GetLine();
    } catch (...) {
        // Of a foreign type, without a place.
    }
    return failure;
}

}  // namespace Syncra::Server::ManagementTool::Core
