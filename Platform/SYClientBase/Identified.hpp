#pragma once

#include "OVRoot/Export.hpp"
#include <cstdint>

namespace SYCB {

/// An object that can be asked for by number after it may have gone: a notification on its way to a
/// thread carries the number instead of a pointer and is dropped when no such object exists.
/// Numbers are never used again. The answer holds as long as the asking thread is the one that
/// destroys.
class SYC_API Identified {
public:
    /// Unique in the process.
    using Identity = std::uint64_t;

    Identified();
    /// A copy is an object of its own.
    Identified(const Identified&) : Identified() {}
    /// Each stays the object that it was.
    Identified& operator=(const Identified&) { return *this; }
    ~Identified() { ToDestroy(); }

    /// Its number, from its construction on.
    [[nodiscard]] Identity GetIdentity() const noexcept { return identity_; }
    /// Whether the object exists and its destruction has not begun. Safe on any thread.
    [[nodiscard]] static bool InstanceExist(Identity identity);

protected:
    /// For the first line of the destructor of whoever is notified: from here on it does not exist.
    void ToDestroy() noexcept;

private:
    Identity identity_;
};

}  // namespace SYCB
