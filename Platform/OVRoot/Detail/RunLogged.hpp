#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"

#include <utility>

namespace OV::Detail {

/// Runs `body` at the bottom of a thread of ours: whatever it throws ends there. An interruption is
/// no failure, everything else is logged under `category`.
template <class Body>
void RunLogged(StringView category, Body&& body) noexcept
{
    try {
        std::forward<Body>(body)();
    } catch (const InterruptedException&) {
    } catch (const std::exception& error) {
        Logger::Error(category, u"Work on a thread ended by an exception: %", {error.what()});
    } catch (...) {
        Logger::Error(category, u"Work on a thread ended by an unknown exception.");
    }
}

}  // namespace OV::Detail
