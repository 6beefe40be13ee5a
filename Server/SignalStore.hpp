#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Signal.hpp"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Nexar {

/// A signal as its project keeps it.
struct RaisedSignal {
    using UserIds = std::set<std::string>;

    Syncra::Protocol::Signal signal;
    std::shared_ptr<const UserIds> audience;  ///< none: everybody
    std::shared_ptr<const UserIds> changed;   ///< the members that it is about; none: anybody

    [[nodiscard]] bool IsFor(const std::string& userId) const
    {
        return !audience || audience->contains(userId);
    }
};

/// The signals of the projects, each with its number in the project. They are committed with what
/// they tell of, in the order of their numbers, so that a place in them is good for every process
/// on the store and whatever life it is in.
class SignalStore {
public:
    explicit SignalStore(Database& database) : database_(database) {}

    /// Gives the signal the next number of its project and keeps it. False when there is no such
    /// project any more.
    [[nodiscard]] bool Add(RaisedSignal& raised);

    struct Found {
        std::vector<RaisedSignal> signals;  ///< by their numbers
        std::uint64_t last = 0;             ///< number of the newest one of the project
        /// There were more than are kept, or `after` is a place that was never reached.
        bool isIncomplete = false;
    };
    /// Those after a place; nothing when there is no such project.
    [[nodiscard]] std::optional<Found> After(const std::string& projectId, std::uint64_t after);

    /// What a client at that place is told. Who missed more than is kept gets one of each kind.
    [[nodiscard]] Syncra::Protocol::SignalBatch
    BatchAfter(const std::string& projectId, const std::string& userId, std::uint64_t after);

    /// Which members signals told of after a place; nothing when that may be anybody.
    struct MembersChanged {
        std::optional<RaisedSignal::UserIds> since;
        std::string place;  ///< of now
    };
    [[nodiscard]] MembersChanged MembersChangedAfter(const std::string& projectId,
                                                     const std::string& place);

private:
    Database& database_;
};

}  // namespace Nexar
