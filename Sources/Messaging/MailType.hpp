#pragma once

#include <cstdint>

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

}  // namespace SYC
