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

std::int32_t CodeOf(const OV::Exception* exception)
{
    for (; exception != nullptr; exception = exception->GetCause())
        if (const auto* refusal =
                dynamic_cast<const Communication::ResponseContentException*>(exception))
            return refusal->GetErrorCode();
    return 0;
}

}  // namespace

namespace {

RequestFailure Describe()
{
    try {
        throw;
    } catch (const OV::Exception& exception) {
        return {TypeOf(exception), exception.GetMessage(), CodeOf(&exception),
                OV::String(exception.GetSourceName()), exception.GetLine()};
    } catch (const std::exception& exception) {
        return {ErrorType::RequestFailed, OV::FromUtf8(exception.what()), 0, {}, 0};
    } catch (...) {
        return {ErrorType::RequestFailed, u"Something unknown was thrown.", 0, {}, 0};
    }
}

}  // namespace

RequestFailure DescribeFailure() noexcept
{
    try {
        return Describe();
    } catch (...) {
        // There is no memory for the words.
        return {ErrorType::RequestFailed, {}, 0, {}, 0};
    }
}

}  // namespace Syncra::Server::ManagementTool::Core
