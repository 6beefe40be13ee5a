#pragma once

#include "IO/ExclusiveFile.hpp"

#include <memory>

namespace SYC {

/// Says to all processes, as long as it lives and its process does, that somebody works with a
/// cache: a lock file of its own in the cache folder, so that there may be several.
class CacheHold {
public:
    /// Null where no lock file can be made: then nothing says so. Throws nothing.
    [[nodiscard]] static std::unique_ptr<CacheHold> Take(const IO::Location& folder) noexcept;
    /// Whether anybody holds the cache, this process included. Takes lock files of dead processes
    /// away. Throws IO::IOException when the folder cannot be looked into.
    [[nodiscard]] static bool IsHeld(const IO::Location& folder);

    ~CacheHold();
    CacheHold(const CacheHold&) = delete;
    CacheHold& operator=(const CacheHold&) = delete;

private:
    explicit CacheHold(IO::ExclusiveFile file) : file_(std::move(file)) {}

    IO::ExclusiveFile file_;
};

}  // namespace SYC
