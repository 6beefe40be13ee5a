#pragma once

#include "SYCommunication/CommunicationException.hpp"

/// What the calls of a repository throw. A refusal whose code has no exception here (see
/// RethrowAsRepositoryException) stays Communication::ResponseContentException, and a call that was
/// cancelled OV::InterruptedException.
namespace Syncra::Server::Management {

/// The server was not reached, did not answer in time, or answered with what is no answer; the
/// cause tells which. Base of the others.
class UserRepositoryException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(UserRepositoryException)
};

/// Another object has that name.
class UserRepositoryObjectAlreadyExistsException : public UserRepositoryException {
public:
    using UserRepositoryException::UserRepositoryException;
    OV_EXCEPTION_IDENTITY(UserRepositoryObjectAlreadyExistsException)
};

/// Something still refers to the object that was to be deleted.
class UserRepositoryObjectInUseException : public UserRepositoryException {
public:
    using UserRepositoryException::UserRepositoryException;
    OV_EXCEPTION_IDENTITY(UserRepositoryObjectInUseException)
};

/// The object that the call names does not exist.
class UserRepositoryObjectNotFoundException : public UserRepositoryException {
public:
    using UserRepositoryException::UserRepositoryException;
    OV_EXCEPTION_IDENTITY(UserRepositoryObjectNotFoundException)
};

/// The record, or the change, breaks a rule of the server; the message says which.
class UserRepositoryValidatorException : public UserRepositoryException {
public:
    using UserRepositoryException::UserRepositoryException;
    OV_EXCEPTION_IDENTITY(UserRepositoryValidatorException)
};

/// Called in a handler: throws the repository exception of the transport's exception that is being
/// handled, with that as its cause; any other goes on as it is.
///
/// | handled | thrown |
/// |---|---|
/// | refusal with code 12 | UserRepositoryObjectNotFoundException |
/// | refusal with code 18 | UserRepositoryObjectAlreadyExistsException |
/// | refusal with code 19 | UserRepositoryObjectInUseException |
/// | refusal with code 20 | UserRepositoryValidatorException |
/// | any other refusal | itself |
/// | any other Communication::CommunicationException | UserRepositoryException |
[[noreturn]] void RethrowAsRepositoryException();

}  // namespace Syncra::Server::Management
