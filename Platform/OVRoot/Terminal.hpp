#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <optional>

/// The terminal of a command-line host; one source file a system.
namespace OV::Terminal {

/// The three streams of a process.
enum class Stream { Input, Output, Error };

/// Whether a person sits at the other end.
[[nodiscard]] SYC_API bool IsTerminal(Stream stream) noexcept;

/// Shows `prompt` on the controlling terminal and reads one line from it without echo; the terminal
/// is restored whatever happens, an interrupt included. Nothing when there is no terminal or the
/// input ended. The caller wipes the text.
[[nodiscard]] SYC_API std::optional<String> ReadPassword(StringView prompt);

/// How many columns a line has there; 0 where nobody reads it on a terminal.
[[nodiscard]] SYC_API std::size_t Columns(Stream stream) noexcept;

/// How many columns a terminal gives a UTF-8 text: two for a wide character, none for one that
/// joins what stands before it, whatever the locale of the process.
[[nodiscard]] SYC_API std::size_t Width(StringView text);
/// The beginning of the text that fits into so many columns, no character taken apart.
[[nodiscard]] SYC_API String CutToWidth(StringView text, std::size_t columns);

}  // namespace OV::Terminal
