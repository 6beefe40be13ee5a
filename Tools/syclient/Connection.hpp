#pragma once

#include "OVRoot/Secret.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

struct Context;

/// What says where to work, as far as it was named: the parts of a project URL.
struct ConnectionValues {
    std::string server;
    std::string port;
    std::string user;
    std::string project;
    OV::Secret password;

    /// Each part with the name that options, variables and JSON give it.
    template <class Visit>
    static void ForEachPart(Visit visit)
    {
        visit("server", &ConnectionValues::server);
        visit("port", &ConnectionValues::port);
        visit("user", &ConnectionValues::user);
        visit("project", &ConnectionValues::project);
    }
    /// Takes the place of what a project URL names. Throws OV::IllegalArgumentException for a URL
    /// that is none of a project.
    void FillFromUrl(const std::string& url);
};

/// Whether the text is meant as a project URL, in any letter case.
[[nodiscard]] bool LooksLikeProjectUrl(const std::string& text);

/// The values that hold for a command, each with where it comes from: options and a project URL
/// before the profile that --profile names, this before the environment, and last the profile of
/// SYCLIENT_PROFILE or the current one; a server whose port nobody names has the usual one. What
/// names another server than the one that holds says nothing about it and is passed over as a
/// whole.
struct Connection {
    ConnectionValues values;
    /// "--server", "SYCLIENT_PORT", "profile home"; empty for what nobody named.
    struct Origins {
        std::string server, port, user, project;
    } origins;
    std::string passwordFile;  ///< of the environment
    std::string profile;       ///< the one that was looked at; empty for none

    /// What a command cannot do without.
    enum class Needs { Address, Login, Project };

    /// Throws CommandFailure for a profile that there is not. The file of profiles is
    /// read only for what is needed and was not named, or when a profile was.
    [[nodiscard]] static Connection Resolve(const Context& context, ConnectionValues options,
                                            Needs needs);
    /// Throws OV::IllegalArgumentException when something is missing, with the ways to name it.
    void Require(Needs needs) const;

    /// 0 when not even a server is named. Throws OV::IllegalArgumentException for what is no port.
    [[nodiscard]] std::uint16_t Port() const;

private:
    /// Takes what is not named yet from the profile that no option names.
    void AddProfile(Needs needs);
    [[nodiscard]] std::string Missing(Needs needs) const;
};
