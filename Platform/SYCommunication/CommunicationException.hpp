#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

/// What may go wrong between this process and a server. Messages name the server and the request,
/// never a password, a token or a body.
namespace Communication {

/// Base of the failures of the transport.
class SYC_API CommunicationException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(CommunicationException)
};

/// No connection could be made, or it broke before the answer was whole.
class SYC_API ConnectionException : public CommunicationException {
public:
    using CommunicationException::CommunicationException;
    OV_EXCEPTION_IDENTITY(ConnectionException)
};

/// The server did not answer in time.
class SYC_API TimeoutException : public CommunicationException {
public:
    using CommunicationException::CommunicationException;
    OV_EXCEPTION_IDENTITY(TimeoutException)
};

/// The answer is not what the protocol says: no JSON, a field missing, or larger than the limit.
class SYC_API MalformedResponseException : public CommunicationException {
public:
    using CommunicationException::CommunicationException;
    OV_EXCEPTION_IDENTITY(MalformedResponseException)
};

/// The server refused the request with a numeric code (see SyncraProtocol/ErrorCode.hpp).
class SYC_API ResponseContentException : public CommunicationException {
public:
    /// With the server's code and what it said.
    ResponseContentException(std::int32_t code, OV::UniString message,
                             OV::SourcePlace place = OV::SourcePlace::Here())
        : CommunicationException(std::move(message), place), code_(code)
    {}
    /// One of SyncraProtocol/ErrorCode.hpp, or a newer server's.
    [[nodiscard]] std::int32_t GetErrorCode() const noexcept { return code_; }
    OV_EXCEPTION_IDENTITY(ResponseContentException)

private:
    std::int32_t code_;
};

}  // namespace Communication
