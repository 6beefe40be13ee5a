#pragma once

#include "Card.hpp"
#include "Messaging/ProjectMembers.hpp"

/// Gives `card` the photo, or initials and colour, of a member; of somebody who is none the
/// initials of `fullName`.
void SetFace(Card& card, const SYC::ProjectMembers& members, const OV::UniString& login,
             const QString& fullName);
