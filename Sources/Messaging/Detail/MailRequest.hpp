#pragma once

#include "Failure.hpp"
#include "Messaging/MailClientActionResultObserver.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "SYCommunication/CommunicationException.hpp"

#include <chrono>

namespace SYC {

/// How long a worker of the mail client stays without work.
inline constexpr std::uint32_t MailWorkerMilliseconds = 30'000;
/// So long the thread of the host is taken at a time.
inline constexpr std::chrono::milliseconds HostSlice{4};

/// For the inside of a catch clause.
inline void LogFailure(OV::UniStringView what) noexcept
{
    OV::LogCurrentException(OV::Logger::Library, u"SYC::MailClient: % failed: %", what);
}

/// How a request ended: its MailResult, and why it failed.
struct MailOutcome {
    int result = MailResult::Succeeded;
    Failure failure;
};

/// Runs a request, whatever it throws; a failure is logged as one of `what`.
template <class Request>
[[nodiscard]] MailOutcome OutcomeOf(OV::UniStringView what, const Request& request)
{
    try {
        request();
        return {};
    } catch (const Communication::ResponseContentException& refusal) {
        LogFailure(what);
        return {refusal.GetErrorCode(), DescribeException()};
    } catch (...) {
        LogFailure(what);
        return {MailResult::NotReached, DescribeException()};
    }
}

template <class Request>
[[nodiscard]] int ResultOf(OV::UniStringView what, const Request& request)
{
    return OutcomeOf(what, request).result;
}

}  // namespace SYC
