#include "FlowWait.hpp"

#include "InterruptNote.hpp"
#include "SYClientBase/MessageLoop.hpp"

bool FlowWait::Await(SYC::Flow& flow) const
{
    constexpr std::uint32_t LookMilliseconds = 50;
    constexpr std::uint32_t PatienceMilliseconds = 2000;
    const InterruptNote note;
    OV::UniString shown;
    std::uint32_t waited = 0;
    while (!SYCB::MessageLoop::RunUntil([&] { return !flow.IsRunning(); }, LookMilliseconds)) {
        if (InterruptNote::WasInterrupted())
            flow.Cancel();
        waited += LookMilliseconds;
        if (waited >= PatienceMilliseconds && !flow.GetProgress().empty() &&
            std::exchange(shown, flow.GetProgress()) != flow.GetProgress())
            output_.Progress(ForDisplay(flow.GetProgress()) + " ...");
    }
    return flow.GetState() == SYC::FlowState::Succeeded;
}

void FlowWait::Require(SYC::Flow& flow) const
{
    if (!Await(flow))
        throw CommandFailure(ExitCodeOf(flow.GetFailure()), Explain(flow.GetFailure()));
}

OV::UniString Explain(const SYC::Failure& failure)
{
    return failure.advice.empty() ? failure.sentence : failure.sentence + u" " + failure.advice;
}
