#pragma once

#include "Card.hpp"
#include "Messaging/ClientMail.hpp"

#include <QString>

/// What the window calls the parts of a mail.
namespace MailTexts {

/// "Request", "Accepted" and the like; empty for a message.
[[nodiscard]] QString Kind(const SYC::ClientMail& mail);
[[nodiscard]] Card::Tone ToneOf(const SYC::ClientMail& mail);
[[nodiscard]] QString Importance(SYC::Importance importance);
/// The sender, or the recipients of what the user sent.
[[nodiscard]] QString Other(const SYC::ClientMail& mail);

}  // namespace MailTexts
