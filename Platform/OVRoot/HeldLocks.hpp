#pragma once

#include <typeinfo>

/// Which locks and lock files the calling thread holds. Somebody else's code (an observer, an
/// alert, a callback of the host) is never called under one: it may ask back and wait for itself,
/// and whoever wants the lock would wait for a dialog. Builds with assertions hold every call to
/// that; others keep no record and check nothing.
namespace OV {

/// To be called before somebody else's code is: ends the process, and names `told` and the lock,
/// when the calling thread holds one. Does nothing in builds without assertions.
void AssertNoLockHeld(const char* told) noexcept;
/// The same for a call of an object of that class.
void AssertNoLockHeld(const std::type_info& told) noexcept;

namespace Detail {

/// What the locks tell of themselves. The names are not copied before they are printed.
void NoteLockTaken(const void* lock, const char* file, int line) noexcept;
void NoteLockReleased(const void* lock) noexcept;
/// A lock file belongs to the thread that opened it until it is closed, on whichever thread.
void NoteFileHeld(const void* hold, const char* path) noexcept;
void NoteFileReleased(const void* hold) noexcept;

}  // namespace Detail
}  // namespace OV
