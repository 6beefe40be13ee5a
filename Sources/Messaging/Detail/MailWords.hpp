#pragma once

#include "Messaging/Importance.hpp"
#include "Messaging/MailType.hpp"
#include "OVRoot/UniString.hpp"

/// Types and importances of mails as the wire and the files have them.
namespace SYC {

/// None for every number that is no type.
[[nodiscard]] MailType MailTypeFromNumber(std::int32_t number) noexcept;
/// The word for the wire. None is written as "NULL", although messages of other origin say "EMPTY":
/// both come back as None, as does every unknown word.
[[nodiscard]] OV::UniStringView ToWireWord(MailType type) noexcept;
[[nodiscard]] MailType MailTypeFromWireWord(OV::UniStringView word) noexcept;

/// Low for every number that is no importance.
[[nodiscard]] Importance ImportanceFromNumber(std::int32_t number) noexcept;
[[nodiscard]] OV::UniStringView ToWireWord(Importance importance) noexcept;
/// Low for every unknown word.
[[nodiscard]] Importance ImportanceFromWireWord(OV::UniStringView word) noexcept;

}  // namespace SYC
