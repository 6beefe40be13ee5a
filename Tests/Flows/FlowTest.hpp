#pragma once

#include "Connection/ConnectionTest.hpp"
#include "Flow/Flow.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "Support/Eventually.hpp"

/// A host with a main thread, and flows on a real server.
class FlowTest : public ConnectionTest {
protected:
    using ConnectionTest::ConnectionTest;

    [[nodiscard]] Syncra::Client::SignInData
    Login(const std::string& user, const std::string& password = ServerProcess::Password) const
    {
        return {u"127.0.0.1", server.ModelPort(), OV::FromUtf8(user), OV::FromUtf8(password)};
    }
    /// Runs the main thread's loop until the flow has ended.
    static SYC::FlowState Await(const SYC::Flow& flow)
    {
        EXPECT_TRUE(SYCB::MessageLoop::RunUntil([&] { return !flow.IsRunning(); }, 20'000));
        return flow.GetState();
    }

    OV::PooledExecutor worker{1, 2, 1000};
    SYCB::MessageLoopExecutor home;
    SYC::FlowExecutors executors{worker, home};
};

/// Cancels its flow when the `number`th change is told.
class CancelAtChange final : public SYC::FlowObserver {
public:
    CancelAtChange(SYC::Flow& flow, int number)
        : number_(number), flow_(flow), subscription_(flow.Subscribe(*this))
    {}
    [[nodiscard]] bool HasCancelled() const { return number_ < 0; }

private:
    void _FlowChanged() override
    {
        if (flow_.IsRunning() && number_-- == 0)
            flow_.Cancel();
    }

    int number_;
    SYC::Flow& flow_;
    OV::Subscription subscription_;
};
