#pragma once

#include "MemberStore.hpp"
#include "PasswordHash.hpp"
#include "ProjectStore.hpp"
#include "SessionStore.hpp"
#include "UserStore.hpp"

namespace Nexar {

/// Every user of the sample team signs in with this.
inline constexpr const char* SamplePassword = "nexar-sample";

/// Fills an empty store with a believable team; Docs/Commands.md tells who and what. Does nothing
/// and is false when there are users already. Its projects have logs of `logLines` lines over two
/// years.
[[nodiscard]] bool FillWithSample(Database& database, PasswordHash& hash, std::uint32_t logLines);

}  // namespace Nexar
