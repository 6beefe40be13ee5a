#pragma once

#include "OVRoot/Export.hpp"
#include <typeinfo>

/// Which locks and lock files the calling thread holds. Somebody else's code (an observer, an
/// alert, a callback of the host) is never called under one: it may ask back and wait for itself,
/// and whoever wants the lock would wait for a dialog. Builds with assertions hold every call to
/// that; others keep no record and check nothing.
namespace OV {

/// To be called before somebody else's code is: ends the process, and names `told` and the lock,
/// when the calling thread holds one. Does nothing in builds without assertions.
SYC_API void AssertNoLockHeld(const char* told) noexcept;
/// The same for a call of an object of that class.
SYC_API void AssertNoLockHeld(const std::type_info& told) noexcept;

namespace Detail {

/// What the locks tell of themselves. The names are not copied before they are printed.
SYC_API void NoteLockTaken(const void* lock, const char* file, int line) noexcept;
SYC_API void NoteLockReleased(const void* lock) noexcept;
/// A lock file belongs to the thread that opened it until it is closed, on whichever thread.
SYC_API void NoteFileHeld(const void* hold, const char* path) noexcept;
SYC_API void NoteFileReleased(const void* hold) noexcept;

}  // namespace Detail
}  // namespace OV
