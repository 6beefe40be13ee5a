#pragma once

#include "CachedProjectInfo.hpp"

#include <memory>

namespace SYC {

/// One cache folder as RegisteredProjects knows it. A value: what it points to never changes.
struct CacheInfoRecord {
    /// Where the cache stands.
    IO::Location folder;
    /// What its "CacheInfo.xml" held when it was last read or written, without the password; null
    /// when it cannot be read.
    std::shared_ptr<const CachedProjectInfo> info;
    /// Why it cannot be read, with its place; empty when it can.
    OV::UniString problem;
};

}  // namespace SYC
