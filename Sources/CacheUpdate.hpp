#pragma once

#include "CachedProjectInfo.hpp"
#include "OVRoot/Logger.hpp"

#include <exception>

namespace SYC {

/// Holds the update bracket of a cache open for a scope, so that a series of setters writes once.
class CacheUpdate {
public:
    explicit CacheUpdate(CachedProjectInfo& cache) : cache_(cache) { cache_.BeginUpdate(); }
    ~CacheUpdate()
    {
        try {
            cache_.EndUpdate();
        } catch (const std::exception& error) {
            OV::Logger::Error("SYClient", u"A cache was not written: %", {error.what()});
        }
    }
    CacheUpdate(const CacheUpdate&) = delete;
    CacheUpdate& operator=(const CacheUpdate&) = delete;

private:
    CachedProjectInfo& cache_;
};

}  // namespace SYC
