#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace SYC {

/// Whether every character is an ASCII letter, a digit, "-" or ".". Deliberately nothing more: the
/// empty name, leading hyphens and labels of any length pass, for only the network knows what
/// resolves.
[[nodiscard]] SYC_API bool IsValidHostName(const OV::String& name);

/// Whether the address has the form `local@domain`: printable ASCII without blanks and specials, at
/// least five characters, a domain with dots inside only, never two in a row, that ends in two
/// letters. The local part may hold dots anywhere.
[[nodiscard]] SYC_API bool IsValidEmailAddress(const OV::UniString& address);

}  // namespace SYC
