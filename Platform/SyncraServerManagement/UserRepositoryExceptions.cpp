#include "SyncraServerManagement/UserRepositoryExceptions.hpp"

#include "SyncraProtocol/ErrorCode.hpp"

namespace Syncra::Server::Management {

using Communication::CommunicationException;
using Communication::ResponseContentException;
using Protocol::ErrorCode;

namespace {

template <class Thrown>
[[noreturn]] void Throw(const CommunicationException& cause)
{
    throw Thrown(cause.GetMessage(), OV::SourcePlace::Here(),
                 std::shared_ptr<const OV::Exception>(cause.Clone()));
}

void ThrowIfKnown(const ResponseContentException& refusal)
{
    switch (static_cast<ErrorCode>(refusal.GetErrorCode())) {
    case ErrorCode::NotFound:
        Throw<UserRepositoryObjectNotFoundException>(refusal);
    case ErrorCode::NameAlreadyExists:
        Throw<UserRepositoryObjectAlreadyExistsException>(refusal);
    case ErrorCode::ObjectInUse:
        Throw<UserRepositoryObjectInUseException>(refusal);
    case ErrorCode::RuleBroken:
        Throw<UserRepositoryValidatorException>(refusal);
    default:
        break;
    }
}

}  // namespace

void RethrowAsRepositoryException()
{
    try {
        throw;
    } catch (const ResponseContentException& refusal) {
        ThrowIfKnown(refusal);
        throw;
    } catch (const CommunicationException& failure) {
        Throw<UserRepositoryException>(failure);
    }
}

}  // namespace Syncra::Server::Management
