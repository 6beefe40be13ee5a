#pragma once

#include <functional>

namespace OV {
class Executor;
}

namespace SYC {

/// Runs `work` on `home`; one that takes nothing any more is logged. `what` names the caller.
void PostHome(OV::Executor& home, const char16_t* what, std::function<void()> work) noexcept;

/// The end of a piece of work, told on the home executor exactly once: a piece that is dropped
/// untold, because its executor does not take it, ends as a cancelled one.
class PostedEnd {
public:
    PostedEnd(OV::Executor& home, const char16_t* what, std::function<void()> tellCancelled)
        : home_(home), what_(what), tellCancelled_(std::move(tellCancelled))
    {}
    ~PostedEnd()
    {
        if (tellCancelled_)
            Tell(tellCancelled_);
    }
    PostedEnd(const PostedEnd&) = delete;
    PostedEnd& operator=(const PostedEnd&) = delete;

    void Tell(std::function<void()> tell) noexcept
    {
        tellCancelled_ = nullptr;
        PostHome(home_, what_, std::move(tell));
    }

private:
    OV::Executor& home_;
    const char16_t* what_;
    std::function<void()> tellCancelled_;
};

}  // namespace SYC
