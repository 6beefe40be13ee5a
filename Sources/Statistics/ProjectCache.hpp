#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"

#include <cstdint>

/// What a server's statistics say of one project.
struct ProjectCache {
    OV::UniString title;      ///< its name
    OV::UniString key;        ///< tells the project from all others
    std::uint8_t flag = 0;    ///< 1: the project may be worked on
    std::int16_t countA = 0;  ///< members
    std::int16_t countB = 0;  ///< sessions
    /// Login name and role of each member.
    OV::Array<OV::Pair<OV::UniString, OV::UniString>> members;

    friend bool operator==(const ProjectCache&, const ProjectCache&) = default;
};
