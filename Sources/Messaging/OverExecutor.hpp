#pragma once

#include "OVRoot/Executor.hpp"
#include "OVRoot/Export.hpp"
#include "SYClientBase/Identified.hpp"

#include <atomic>
#include <functional>

namespace SYC {

/// An observer that is told on an executor of its choice, and not at all once it has gone. The
/// executor is one that runs on the thread that destroys the observer, and outlives what was posted
/// to it. A class that is told begins its destructor with ToDestroy.
class SYC_API OverExecutor : public SYCB::Identified {
public:
    /// For the notifications from now on. Null drops them.
    void SetExecutor(OV::Executor* executor) noexcept { executor_ = executor; }

    /// The way to an observer as it was when it was asked for, good for any thread and any time.
    class Target {
    public:
        /// Runs `work` on the executor unless the observer has gone by then. False when nobody will
        /// run it: there is no executor, or it does not take the work, which is logged when it
        /// throws. Not with a lock held, for the executor may be the host's.
        bool Post(std::function<void()> work) const noexcept;

    private:
        friend class OverExecutor;
        Target(OV::Executor* executor, Identity identity) : executor_(executor), identity_(identity)
        {}
        OV::Executor* executor_;
        Identity identity_;
    };
    /// For a notification that is made now; safe on any thread while the observer lives.
    [[nodiscard]] Target GetTarget() const { return {executor_, GetIdentity()}; }

protected:
    /// Null drops the notifications.
    explicit OverExecutor(OV::Executor* executor) noexcept : executor_(executor) {}
    ~OverExecutor() = default;

private:
    std::atomic<OV::Executor*> executor_;
};

}  // namespace SYC
