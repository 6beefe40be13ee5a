#include "Targets.hpp"

#include "LogIndex/StringIndex.hpp"
#include "OVRoot/MemoryChannels.hpp"

// The bytes are an index of texts.
void Fuzz::LogIndexStream(OV::StringView bytes)
{
    StringIndex index(0);
    OV::MemoryIChannel channel(bytes);
    const bool isRead = index.Read(channel) == 0;
    Promise(index.GetData(true).size() == index.GetSize(), "each item gives its row");
    (void)index.GetUniqueKeys();
    if (!isRead)
        return;
    OV::MemoryOChannel written;
    Promise(index.Write(written) == 0, "memory takes everything");
    Promise(bytes.starts_with(written.Bytes()), "an index comes back as it was");
    if (index.GetSize() > 0) {
        (void)index.FindFirst(index.GetValueAt(0));
        (void)index.FindLast(index.GetValueAt(index.GetSize() - 1));
    }
}
