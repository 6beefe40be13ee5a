#include "Flow/Detail/Doubt.hpp"

#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"

namespace SYC {

namespace {

bool IsInDoubt(const Failure& failure)
{
    return failure.kind == FailureKind::NotReached || failure.kind == FailureKind::Cancelled ||
           failure.kind == FailureKind::NotUnderstood || failure.kind == FailureKind::ServerFailed;
}

}  // namespace

Failure Settle(Failure failure, const std::function<bool()>& isDone) noexcept
{
    if (!IsInDoubt(failure))
        return failure;
    const OV::InterruptionScope inPeace{std::stop_token()};
    try {
        return isDone() ? Failure() : failure;
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library, u"Whether % was done could not be asked: %",
                                u"a change");
    }
    try {
        return MakeFailure(FailureKind::OutcomeUnknown, failure.sentence);
    } catch (...) {
        return failure;  // without memory for the words
    }
}

}  // namespace SYC
