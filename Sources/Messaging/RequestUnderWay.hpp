#pragma once

#include "Failure.hpp"
#include "OVRoot/UniString.hpp"

#include <atomic>
#include <memory>

namespace SYC {

/// What a request ends with that no worker takes.
[[nodiscard]] inline Failure NoThreadFailure()
{
    Failure failure = MakeFailure(FailureKind::OutOfMemory);
    failure.sentence = u"The system gives no thread for the request. Try again later.";
    return failure;
}

/// Whether a request that was given to a worker is still under way: until its answer is taken, or
/// until all that could bring one has gone, as when the executor drops it. So a lost answer never
/// keeps the next request away. Begun and asked on one thread.
class RequestUnderWay {
public:
    /// Goes with the request and with its answer.
    class Token {
    public:
        /// The answer is there, or will not come.
        void End() const noexcept { *isEnded_ = true; }

    private:
        friend class RequestUnderWay;
        std::shared_ptr<std::atomic<bool>> isEnded_ = std::make_shared<std::atomic<bool>>(false);
    };

    /// What was under way before is forgotten.
    [[nodiscard]] Token Begin()
    {
        Token token;
        isEnded_ = token.isEnded_;
        return token;
    }
    /// Whether one is under way.
    explicit operator bool() const noexcept
    {
        const auto isEnded = isEnded_.lock();
        return isEnded && !*isEnded;
    }

private:
    std::weak_ptr<std::atomic<bool>> isEnded_;
};

}  // namespace SYC
