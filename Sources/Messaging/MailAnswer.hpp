#pragma once

#include "Messaging/ClientMail.hpp"

#include <cstdint>

namespace SYC {

/// How a mail is answered.
enum class MailAnswer : std::int32_t {
    Reply,   ///< any mail; to its sender, or to the recipients of what the user sent himself
    Accept,  ///< an open request to the user is granted
    Deny,    ///< an open request to the user is refused
    Revoke,  ///< an open request of the user is withdrawn
};

/// What an answer or a forwarded mail says of itself.
struct MailContent {
    OV::UniString text{};                     ///< what the user wrote
    Importance importance = Importance::Low;  ///< as the user chose it
    /// May be an empty holder.
    OV::Ref<ClientMail::ActionList> actions{};
};

}  // namespace SYC
