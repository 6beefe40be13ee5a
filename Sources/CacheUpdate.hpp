#pragma once

#include "CachedProjectInfo.hpp"
#include "OVRoot/Logger.hpp"

#include <utility>

namespace SYC {

/// Holds the update bracket of a cache open for a scope, so that a series of setters writes once.
class CacheUpdate {
public:
    explicit CacheUpdate(CachedProjectInfo& cache) : cache_(cache) { cache_.BeginUpdate(); }
    /// An exception is on its way already when the bracket is still open here.
    ~CacheUpdate()
    {
        try {
            End();
        } catch (const std::exception& error) {
            OV::Logger::Error(OV::Logger::Library, u"A cache was not written: %", {error.what()});
        }
    }
    CacheUpdate(const CacheUpdate&) = delete;
    CacheUpdate& operator=(const CacheUpdate&) = delete;

    /// Writes what the setters changed; throws what the writing throws.
    void End()
    {
        if (std::exchange(isOpen_, false))
            cache_.EndUpdate();
    }

private:
    CachedProjectInfo& cache_;
    bool isOpen_ = true;
};

}  // namespace SYC
