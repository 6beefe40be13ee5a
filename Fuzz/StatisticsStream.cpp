#include "Targets.hpp"

#include "OVRoot/MemoryChannels.hpp"
#include "PerformanceData.hpp"

// The bytes are statistics.
void Fuzz::StatisticsStream(OV::StringView bytes)
{
    PerformanceData data;
    OV::MemoryIChannel channel(bytes);
    try {
        (void)data.Read(channel);
    } catch (const OV::Exception& refused) {
        Promise(data == PerformanceData(), "another version gives nothing");
        return;
    }
    OV::MemoryOChannel written;
    Promise(data.Write(written) == 0, "memory takes everything");
    PerformanceData again;
    OV::MemoryIChannel input(written.Bytes());
    Promise(again.Read(input) == 0, "what was written is read");
    OV::MemoryOChannel same;
    Promise(again.Write(same) == 0 && same.Bytes() == written.Bytes(), "and is the same");
}
