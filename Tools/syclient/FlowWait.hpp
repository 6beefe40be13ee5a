#pragma once

#include "Context.hpp"
#include "Flow/OwnExecutors.hpp"

/// How a command waits for a flow: its progress once it takes long, Ctrl-C cancels it.
class FlowWait {
public:
    explicit FlowWait(const Output& output) : output_(output) {}

    [[nodiscard]] SYC::FlowExecutors Executors() noexcept { return executors_; }
    /// Returns once the flow has ended; whether it succeeded.
    bool Await(SYC::Flow& flow) const;
    /// Throws CommandFailure with the flow's reason unless it succeeded.
    void Require(SYC::Flow& flow) const;

private:
    const Output& output_;
    SYC::OwnExecutors executors_;
};

/// What happened and what the user can do about it.
[[nodiscard]] OV::UniString Explain(const SYC::Failure& failure);
