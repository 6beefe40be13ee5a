#pragma once

#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

/// The library's log lines while it lives.
class LogCapture {
public:
    LogCapture()
    {
        former_ = OV::Logger::SetSink([this](const OV::LogRecord& record) {
            const std::lock_guard guard(lock_);
            lines_.push_back(record.category + ": " + OV::ToUtf8(record.text));
        });
    }
    ~LogCapture() { OV::Logger::SetSink(std::move(former_)); }

    [[nodiscard]] bool Has(const std::string& line) const
    {
        const std::lock_guard guard(lock_);
        return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
    }
    [[nodiscard]] bool Mentions(const std::string& text) const
    {
        const std::lock_guard guard(lock_);
        return std::any_of(lines_.begin(), lines_.end(),
                           [&](const auto& line) { return line.find(text) != std::string::npos; });
    }

private:
    mutable std::mutex lock_;
    std::vector<std::string> lines_;
    OV::Logger::Sink former_;
};
