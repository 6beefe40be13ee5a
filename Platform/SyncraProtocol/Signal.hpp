#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// What happened in a project; the numbers are those of the protocol.
enum class SignalId : std::int32_t {
    ProjectStateChanged = 1,
    SessionsChanged = 2,
    MembersChanged = 3,
    NewMail = 4,
    SessionEnded = 5,  ///< for the owner alone of a session that somebody else ended
};
/// All of them, for who begins anew.
inline constexpr SignalId EverySignal[] = {SignalId::ProjectStateChanged, SignalId::SessionsChanged,
                                           SignalId::MembersChanged, SignalId::NewMail,
                                           SignalId::SessionEnded};

/// One event of a project, in the order of its sequence.
struct SYC_API Signal {
    std::uint64_t sequence = 0;                   ///< rises with each signal of the project
    SignalId id = SignalId::ProjectStateChanged;  ///< what happened
    OV::UniString projectId;                      ///< where

    friend bool operator==(const Signal&, const Signal&) = default;
};

/// Answer to a held signal request. `next` is what the next request passes on; a server that lost
/// its place (restart) answers with a `next` below the one asked for, and the client starts from
/// there.
struct SYC_API SignalBatch {
    OV::Array<Signal> events;  ///< not "signals", which is a keyword to hosts with Qt
    std::uint64_t next = 0;    ///< what the next request passes on
};

}  // namespace Syncra::Protocol
