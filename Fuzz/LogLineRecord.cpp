#include "Targets.hpp"

#include "LogDataLine.hpp"
#include "LogLine/Detail/LogBlockWriter.hpp"
#include "OVRoot/MemoryChannels.hpp"

// The bytes are a record of a line; both ways of reading it agree.
void Fuzz::LogLineRecord(OV::StringView bytes)
{
    SYC::LogRecord record;
    const std::size_t length = record.Parse(bytes);
    LogDataLine line;
    OV::MemoryIChannel channel(bytes);
    Promise((line.Read(channel) == 0) == (length > 0), "both ways find the same records");
    (void)line.GetSize();
    (void)line.GetTimeString();
    if (length == 0)
        return;
    const LogDataLine packed(SYC::Detail::LogBlockWriter().Add(record), record);
    for (const LogDataLine& each : {line, packed}) {
        OV::String again;
        each.AppendRecord(again);
        Promise(again == bytes.substr(0, length), "a record comes back as it was");
    }
}
