#pragma once

#include "OVRoot/UniString.hpp"

namespace SYC {

/// What a mail is for. The numbers are those of the files.
enum class MailType : std::int32_t {
    None = 0,
    Normal = 1,
    Request = 2,  ///< asks for ownership
    RequestAccepted = 3,
    RequestDenied = 4,
    RequestRevoked = 5,  ///< withdrawn by the one who asked
};

/// None for every number that is no type.
[[nodiscard]] MailType MailTypeFromNumber(std::int32_t number) noexcept;

/// The word for the wire. None is written as "NULL", although messages of other origin say "EMPTY":
/// both come back as None, as does every unknown word.
[[nodiscard]] OV::UniStringView ToWireWord(MailType type) noexcept;
[[nodiscard]] MailType MailTypeFromWireWord(OV::UniStringView word) noexcept;

}  // namespace SYC
