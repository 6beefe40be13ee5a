#pragma once

#include "Messaging/MailClientActionResultObserver.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "SYCommunication/CommunicationException.hpp"

namespace SYC {

/// How long a worker of the mail client stays without work.
inline constexpr std::uint32_t MailWorkerMilliseconds = 30'000;

/// For the inside of a catch clause.
inline void LogFailure(OV::UniStringView what) noexcept
{
    OV::LogCurrentException(OV::Logger::Library, u"SYC::MailClient: % failed: %", what);
}

/// Runs a request and gives its MailResult, whatever it throws; a failure is logged as one of
/// `what`.
template <class Request>
[[nodiscard]] int ResultOf(OV::UniStringView what, const Request& request)
{
    int result = MailResult::NotReached;
    try {
        request();
        return MailResult::Succeeded;
    } catch (const Communication::ResponseContentException& refusal) {
        result = refusal.GetErrorCode();
        LogFailure(what);
    } catch (...) {
        LogFailure(what);
    }
    return result;
}

}  // namespace SYC
