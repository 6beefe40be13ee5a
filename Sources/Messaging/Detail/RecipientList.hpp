#pragma once

#include "Messaging/ClientMail.hpp"

namespace SYC {

/// Login names in one text, each followed by a comma; no name gives an empty text.
[[nodiscard]] OV::UniString JoinRecipients(const ClientMail::NameList& names);
/// Every piece before a comma is a name. What follows the last comma is no name, since the writer
/// always ends the list with one.
[[nodiscard]] ClientMail::NameList SplitRecipients(OV::UniStringView text);

}  // namespace SYC
