#pragma once

#include "Display/NativeImage.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/Guid.hpp"
#include "SyncraProtocol/Member.hpp"

#include <memory>

namespace SYC {

class OpenedProject;

/// What is known of a member's photo, by stamps of the server; empty for none.
struct PhotoState {
    OV::UniString loginName;
    OV::UniString latest;
    OV::UniString here;  ///< of the image that the tables hold
};
using PhotoStates = OV::HashTable<OV::Guid, PhotoState>;
/// Photos by user identity.
using PhotoTable = OV::HashTable<OV::Guid, NewDisplay::NativeImage>;

/// What an answer of the server left its client with, apart from the members themselves.
struct KnownMembers {
    OV::UniString place;  ///< from which on the next one tells the changes
    PhotoStates photos;   ///< of every member
};

struct MemberNews {
    Syncra::Protocol::MemberChanges changes;
    PhotoTable images;  ///< that became others
    std::shared_ptr<const KnownMembers> known;
};

/// What became of the members of the opened project since `known`, or all of them for null; on a
/// worker thread. Throws what the model service's requests throw; a photo that cannot be had is
/// logged, and asked for again the next time.
[[nodiscard]] MemberNews FetchMembers(OpenedProject& project,
                                      const std::shared_ptr<const KnownMembers>& known,
                                      bool withPhotos);

}  // namespace SYC
