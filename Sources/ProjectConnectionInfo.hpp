#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"

namespace SYC::Inner {

/// Names one user's connection to one project.
struct SYC_API ProjectConnectionInfo {
    /// Host name or address of the project server.
    OV::UniString serverName;
    /// Of the model service.
    std::uint16_t port = 0;
    /// In the letter case of the server.
    OV::UniString projectName;
    /// The login name.
    OV::UniString userName;
    /// Clear text, in memory only.
    OV::Secret password;
    /// Free for the owner of the value; no URL and no file carries it.
    bool flag = false;

    /// As a new one; the password is wiped.
    void Clear();

    friend bool operator==(const ProjectConnectionInfo&, const ProjectConnectionInfo&) = default;
};

}  // namespace SYC::Inner
