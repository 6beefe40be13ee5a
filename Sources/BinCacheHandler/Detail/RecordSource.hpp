#pragma once

#include "LogLine/Detail/LogBlockWriter.hpp"
#include "LogLine/Detail/LogRecords.hpp"

#include <algorithm>

namespace SYC::Detail {

/// Reads the records that `read` gives piece by piece, up to the first that is damaged, and tells
/// each one to `take` with the bytes it stands in. `read` fills as much as it is given room for,
/// and less at the end only. Throws what the two throw.
template <class Read, class Take>
void TakeRecords(Read&& read, Take&& take)
{
    constexpr std::size_t usualBytes = std::size_t{256} << 10;
    OV::String buffer(usualBytes, '\0');
    for (std::size_t filled = 0;;) {
        const std::size_t count = read(buffer.data() + filled, buffer.size() - filled);
        filled += count;
        std::size_t done = 0;
        for (const auto& [record, bytes] : LogRecords(OV::StringView(buffer.data(), filled))) {
            if (bytes.size() > LogBlockWriter::MostBytesOfLine)
                return;
            take(record, bytes);
            done += bytes.size();
        }
        if (filled < buffer.size())
            return;
        // What remains begins the next record.
        filled -= done;
        std::copy_n(buffer.data() + done, filled, buffer.data());
        if (filled == buffer.size()) {
            if (filled > LogBlockWriter::MostBytesOfLine)
                return;
            buffer.resize(2 * filled);
        }
    }
}

}  // namespace SYC::Detail
