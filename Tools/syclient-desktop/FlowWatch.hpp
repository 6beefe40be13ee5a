#pragma once

#include "Flow/Flow.hpp"

#include <functional>

/// Calls somebody whenever a flow changes, as long as both live.
class FlowWatch final : private SYC::FlowObserver {
public:
    FlowWatch(SYC::Flow& flow, std::function<void()> changed)
        : changed_(std::move(changed)), subscription_(flow.Subscribe(*this))
    {}

private:
    void _FlowChanged() override { changed_(); }

    std::function<void()> changed_;
    OV::Subscription subscription_;
};
