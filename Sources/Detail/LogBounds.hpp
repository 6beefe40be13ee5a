#pragma once

#include "OVRoot/Exception.hpp"
#include "SyncraProtocol/EventLogPage.hpp"

#include <algorithm>
#include <string>

namespace SYC::Detail {

/// What a server may send of its logs in one update, over all answers and projects; far more than
/// any has. A server that never comes to an end costs an error, and not the memory.
class LogBounds {
public:
    /// Throws OV::Exception when it becomes too much.
    void Count(const Syncra::Protocol::EventLogPage& page)
    {
        ++pages_;
        bytes_ += page.text.size();
        lines_ += static_cast<std::uint64_t>(std::count(page.text.begin(), page.text.end(), '\n'));
        const bool isEmpty = page.left > 0 && page.text.empty();
        if (isEmpty || pages_ > MostPages || bytes_ > MostBytes || lines_ > MostLines)
            throw OV::Exception(
                "The log that the server sends does not end: " + std::to_string(lines_) +
                " lines, " + std::to_string(bytes_) + " bytes. Tell its administrator.");
    }

private:
    static constexpr std::uint64_t MostPages = 200'000;
    static constexpr std::uint64_t MostLines = 20'000'000;
    static constexpr std::uint64_t MostBytes = std::uint64_t(1) << 30;

    std::uint64_t pages_ = 0;
    std::uint64_t lines_ = 0;
    std::uint64_t bytes_ = 0;
};

}  // namespace SYC::Detail
