#pragma once

#include <sodium.h>

#include <array>

namespace SYCB::Detail {

using PasswordKey = std::array<unsigned char, crypto_kdf_KEYBYTES>;

/// Sets libsodium up once for the process.
void InitialiseSodium();

/// What becomes of a key that is not there. Only storing a password makes one: a profile whose key
/// is away for a moment must not get another by being read.
enum class MissingKey { Make, Refuse };

/// The user's key, read from "SYPassword.key" in his roaming application data. Processes that make
/// it at the same time get the same one. Kept in memory as long as the file's place stays the same.
/// Throws PasswordCodingException naming the file; never replaces one that exists, since that would
/// lose every stored password. Safe on any thread.
[[nodiscard]] PasswordKey GetPasswordKey(MissingKey missing);

}  // namespace SYCB::Detail
