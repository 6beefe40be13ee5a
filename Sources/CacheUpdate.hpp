#pragma once

#include "CachedProjectInfo.hpp"

namespace SYC {

/// Holds the update bracket of a cache open for a scope, so that a series of setters writes once.
class CacheUpdate {
public:
    explicit CacheUpdate(CachedProjectInfo& cache) : cache_(cache) { cache_.BeginUpdate(); }
    ~CacheUpdate() { cache_.EndUpdate(); }
    CacheUpdate(const CacheUpdate&) = delete;
    CacheUpdate& operator=(const CacheUpdate&) = delete;

private:
    CachedProjectInfo& cache_;
};

}  // namespace SYC
