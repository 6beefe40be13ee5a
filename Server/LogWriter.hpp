#pragma once

#include <memory>
#include <string>

namespace Nexar {

/// Writes lines to the standard error stream on a thread of its own, so that a stream that nobody
/// reads holds no request up. A bounded number of lines waits; what is beyond is counted and told
/// when there is room. Safe on any thread.
class LogWriter {
public:
    LogWriter();
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
