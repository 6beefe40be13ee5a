#pragma once

#include "Messaging/ProjectMembers.hpp"

namespace SYC {

class OpenedProject;

/// Photos by user identity.
using PhotoTable = OV::HashTable<OV::Guid, NewDisplay::NativeImage>;

/// The members of the opened project with their sessions; on a worker thread. A photo is asked for
/// unless `knownPhotos` has it. Throws what the model service's requests throw; a photo that cannot
/// be had is logged and left empty.
[[nodiscard]] OV::Array<ProjectMember> FetchMembers(OpenedProject& project,
                                                    const PhotoTable& knownPhotos);

}  // namespace SYC
