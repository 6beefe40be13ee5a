#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <optional>

/// The terminal of a command-line host; one source file a system.
namespace OV::Terminal {

enum class Stream { Input, Output, Error };

/// Whether a person sits at the other end.
[[nodiscard]] SYC_API bool IsTerminal(Stream stream) noexcept;

/// Shows `prompt` on the controlling terminal and reads one line from it without echo; the terminal
/// is restored whatever happens, an interrupt included. Nothing when there is no terminal or the
/// input ended. The caller wipes the text.
[[nodiscard]] SYC_API std::optional<String> ReadPassword(StringView prompt);

}  // namespace OV::Terminal
