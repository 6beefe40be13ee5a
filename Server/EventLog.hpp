#pragma once

#include "Limits.hpp"
#include "Store/Database.hpp"
#include "SyncraProtocol/EventLogPage.hpp"

namespace Nexar {

/// The activity log of the projects, and the server's own load. What happens through the tables of
/// the store is logged by them; here is what clients tell, and what is read.
class EventLog {
public:
    explicit EventLog(Database& database) : database_(database) {}

    /// Which lines of a log are wanted; times in seconds since 1970-01-01 UTC, both included.
    struct Range {
        std::int64_t from = 0;
        std::int64_t to = 0;
        std::int64_t after = 0;  ///< the number of the line before the first one
    };
    /// At most 20,000 lines, and of more than one at most 4 MiB, oldest first.
    [[nodiscard]] Syncra::Protocol::EventLogPage Page(const std::string& projectId,
                                                      const Range& range);
    [[nodiscard]] Syncra::Protocol::EventLogPage PerformancePage(const Range& range);

    /// By a user who did it now.
    void Append(const std::string& projectId, const std::string& userId,
                const Syncra::Protocol::LoggedEvent& event);
    /// A figure of the server's load; drops those of more than 400 days ago.
    void AppendPerformance(const std::string& key, double value);
    /// Drops some of the lines of projects and keys of mails that are older than is kept; whether
    /// there may be more of them.
    [[nodiscard]] bool DropOld(const Limits& limits);
    /// A line of another time and of a user who need not be one; for samples.
    void AppendLine(const std::string& projectId, std::int64_t time, const std::string& user,
                    const Syncra::Protocol::LoggedEvent& event);
    void AppendPerformanceLine(std::int64_t time, const std::string& key, double value);

private:
    [[nodiscard]] std::int64_t LastSample();

    Database& database_;
};

}  // namespace Nexar
