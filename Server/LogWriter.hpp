#pragma once

#include <functional>
#include <memory>
#include <string>

namespace Nexar {

/// Writes lines somewhere on a thread of its own, so that a stream that nobody reads, or a disk
/// that is slow, holds no request up. A bounded number of lines waits; what is beyond is counted
/// and told when there is room. Safe on any thread.
class LogWriter {
public:
    using Sink = std::function<void(const std::string& line)>;
    explicit LogWriter(Sink sink);
    /// Waits a moment for what has not been written yet, but not for a stream that takes nothing.
    ~LogWriter();
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;

    void Write(std::string line);

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace Nexar
