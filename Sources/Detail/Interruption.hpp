#pragma once

#include "OVRoot/Thread.hpp"

namespace SYC::Detail {

/// Throws OV::InterruptedException when the calling thread is asked to stop. Costs a look at a
/// flag.
inline void StopIfInterrupted()
{
    if (OV::Thread::IsInterrupted())
        throw OV::InterruptedException();
}

}  // namespace SYC::Detail
