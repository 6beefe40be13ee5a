#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Format.hpp"
#include "OVRoot/UniString.hpp"

#include <functional>

namespace OV {

/// How much a line of the log matters.
enum class LogLevel { Debug, Info, Warning, Error };

/// One line of the log, as a sink gets it.
struct LogRecord {
    LogLevel level;   ///< how much it matters
    String category;  ///< what it is about; Logger::Library for the library's own
    UniString text;   ///< without the line's end; it may hold line feeds
};

/// The process-wide log. Lines go to the sink of the host; without one, lines from Warning up go to
/// the standard error stream. Safe on any thread; the sink is called on the logging thread, one
/// line at a time, so it must not wait for a thread that logs. What it logs itself goes to the
/// standard error stream. Nothing written here may hold a password.
class SYC_API Logger {
public:
    /// Takes a line; see Logger for where and when it is called. What it throws is dropped.
    using Sink = std::function<void(const LogRecord&)>;

    /// The category of what the library logs.
    static constexpr StringView Library = "SYClient";

    /// Replaces the sink and returns the former one. An empty sink restores the default.
    static Sink SetSink(Sink sink);

    /// One line, as it is.
    static void Write(LogLevel level, StringView category, UniString text);
    /// A line of that level; FormatText fills the placeholders.
    /// @{
    static void Info(StringView category, UniStringView format,
                     std::initializer_list<FormatArgument> arguments = {});
    static void Warning(StringView category, UniStringView format,
                        std::initializer_list<FormatArgument> arguments = {});
    static void Error(StringView category, UniStringView format,
                      std::initializer_list<FormatArgument> arguments = {});
    /// @}
    /// The debug output: level Debug, category "Debug".
    static void DebugPrint(UniStringView format,
                           std::initializer_list<FormatArgument> arguments = {});
};

}  // namespace OV
