#pragma once

#include "SYCommunication/PagedReading.hpp"
#include "SyncraProtocol/EventLogPage.hpp"

#include <algorithm>

namespace SYC::Detail {

/// Bounds what a server may send of its logs in one update, over all answers and projects; far more
/// than any has.
class LogReading {
public:
    /// Throws Communication::MalformedResponseException when it becomes too much.
    void TakePage(const Syncra::Protocol::EventLogPage& page)
    {
        const auto lines = std::count(page.text.begin(), page.text.end(), '\n');
        reading_.TakePage(page.text.size(), static_cast<std::uint64_t>(lines), page.left > 0);
    }

private:
    Communication::PagedReading reading_{u"the log", {std::uint64_t{1} << 30, 20'000'000}};
};

}  // namespace SYC::Detail
