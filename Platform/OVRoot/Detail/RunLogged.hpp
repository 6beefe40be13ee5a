#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"

#include <utility>

namespace OV::Detail {

/// Logs the exception that is being handled, other than an interruption, which is no failure. An
/// exception that finds no memory for its line is not logged.
inline void LogHandled(StringView category) noexcept
{
    try {
        try {
            throw;
        } catch (const InterruptedException&) {
        } catch (const std::exception& error) {
            Logger::Error(category, u"Work on a thread ended by an exception: %", {error.what()});
        } catch (...) {
            Logger::Error(category, u"Work on a thread ended by an unknown exception.");
        }
    } catch (...) {
    }
}

/// Runs `body` at the bottom of a thread of ours, or where somebody else's code is called: whatever
/// it throws ends there, and is logged under `category`.
template <class Body>
void RunLogged(StringView category, Body&& body) noexcept
{
    try {
        std::forward<Body>(body)();
    } catch (...) {
        LogHandled(category);
    }
}

}  // namespace OV::Detail
