#pragma once

#include "CachedProjectInfo.hpp"
#include "CheckResult.hpp"
#include "Failure.hpp"
#include "Output.hpp"
#include "ProjectConnectionInfo.hpp"

#include <memory>
#include <vector>

/// What a check found out, in words and as JSON.
struct CheckReport {
    struct Event {
        std::int32_t code;
        OV::UniString text;
    };

    SYC::Inner::ProjectConnectionInfo connection;
    SYC::CheckResult result = SYC::CheckResult::Offline;
    SYC::Failure failure;  ///< why it did not pass
    std::vector<Event> events;
    OV::UniString projectId;
    OV::UniString serverLocation;
    OV::UniString sessionId;
    std::shared_ptr<SYC::CachedProjectInfo> cache;
    bool isCacheNew = false;  ///< none was there before

    void Print(const Output& output) const;
    /// What happened and what the user can do about it.
    [[nodiscard]] std::string Explanation() const;
    /// One word for scripts.
    [[nodiscard]] std::string Word() const;
};
