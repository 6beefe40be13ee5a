#include "OVRoot/Logger.hpp"

#include "OVRoot/Lock.hpp"

#include <cstdio>
#include <utility>

namespace OV {

namespace {

void WriteToStandardError(const LogRecord& record)
{
    if (record.level < LogLevel::Warning)
        return;
    const String line = record.category + ": " + ToUtf8(record.text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

thread_local bool isInSink = false;

struct InSink {
    InSink() { isInSink = true; }
    ~InSink() { isInSink = false; }
};

/// Never destroyed: a static object may log while the process ends.
struct Shared {
    Lock lock;
    Logger::Sink sink OV_GUARDED_BY(lock);
};

Shared& TheLog()
{
    static auto& shared = *new Shared;
    return shared;
}

}  // namespace

Logger::Sink Logger::SetSink(Sink sink)
{
    Shared& log = TheLog();
    const LockGuard guard(log.lock);
    return std::exchange(log.sink, std::move(sink));
}

void Logger::Write(LogLevel level, StringView category, UniString text)
{
    const LogRecord record{level, String(category), std::move(text)};
    // What a sink logs itself goes past it, or it would wait for itself.
    if (isInSink)
        return WriteToStandardError(record);
    Shared& log = TheLog();
    const LockGuard guard(log.lock);
    if (!log.sink)
        return WriteToStandardError(record);
    const InSink inside;
    try {
        log.sink(record);
    } catch (...) {
        // Callers log from destructors and while they handle an error; the line is better kept
        // here.
        WriteToStandardError(record);
    }
}

void Logger::Info(StringView category, UniStringView format,
                  std::initializer_list<FormatArgument> arguments)
{
    Write(LogLevel::Info, category, FormatText(format, arguments));
}

void Logger::Warning(StringView category, UniStringView format,
                     std::initializer_list<FormatArgument> arguments)
{
    Write(LogLevel::Warning, category, FormatText(format, arguments));
}

void Logger::Error(StringView category, UniStringView format,
                   std::initializer_list<FormatArgument> arguments)
{
    Write(LogLevel::Error, category, FormatText(format, arguments));
}

void Logger::DebugPrint(UniStringView format, std::initializer_list<FormatArgument> arguments)
{
    Write(LogLevel::Debug, "Debug", FormatText(format, arguments));
}

}  // namespace OV
