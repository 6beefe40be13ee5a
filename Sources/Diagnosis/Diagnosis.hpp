#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"

#include <optional>

namespace SYC {

/// What somebody who helps from afar needs to know of this computer and its way to a server. It
/// holds no password, no token and no text of a mail.
struct SYC_API Diagnosis {
    /// One part of the way to a server, and how it ended.
    struct Step {
        /// "name look-up", "connect", "TLS", "version", "sign-in", "projects"; where requests go
        /// through a proxy, "proxy look-up" and "proxy" instead of the first two.
        OV::UniString name;
        OV::UniString address;           ///< what was tried
        std::uint32_t milliseconds = 0;  ///< that it took
        bool succeeded = false;          ///< whether the way goes on
        OV::UniString outcome;           ///< in words; of a failure, why
        OV::UniString advice;            ///< what the user can do about a failure; empty otherwise
    };
    /// One cache below the data folder.
    struct Cache {
        /// Where it stands.
        IO::Location folder;
        /// These three are empty when the cache cannot be read.
        OV::UniString server;
        OV::UniString project;            ///< its name
        OV::UniString user;               ///< login name
        bool hasUnsentChanges = false;    ///< not sent to the server yet
        std::uint32_t waitingMails = 0;   ///< in the outbox
        OV::Array<OV::UniString> damage;  ///< a sentence for each file that is not as it should be
    };
    /// A lock file that stands there; nobody holds one that a process left behind.
    struct Lock {
        IO::Location file;           ///< where it stands
        std::int64_t processId = 0;  ///< 0 when nobody holds it
        OV::UniString program;       ///< name of the process; empty when nobody knows
    };
    /// A part of the library, or a library that it stands upon.
    struct Version {
        OV::UniString name;    ///< which one
        OV::UniString number;  ///< of its version
    };

    /// Of the library and of what it stands upon.
    OV::Array<Version> versions;
    /// The way to the server; empty when none was asked for.
    OV::Array<Step> steps;
    /// Those below the data folder.
    OV::Array<Cache> caches;
    /// Those of the user, with who holds them.
    OV::Array<Lock> locks;
    /// The last lines, oldest first, without secrets.
    OV::Array<OV::UniString> log;
};

/// What is looked at.
struct SYC_API DiagnosisRequest {
    /// Who signs in where.
    struct Login {
        OV::UniString serverName;  ///< as users write it
        std::uint16_t port = 0;    ///< of the model service
        OV::UniString userName;    ///< empty: nobody signs in
        OV::Secret password;       ///< in clear text; it comes into no part of the answer
    };
    std::optional<Login> login;                ///< nothing: no server is asked
    IO::Location dataFolder;                   ///< of the caches
    IO::Location logFile;                      ///< see LogFile.hpp
    std::int32_t logSeconds = 3600;            ///< how much of the log is wanted, back from now
    std::uint32_t connectMilliseconds = 5000;  ///< for each address
};

/// The way to a server, step by step until one fails: its name, each of its addresses, TLS, the
/// version of its protocol, the sign-in, and what the user may see. On the calling thread: a
/// look-up as long as the name servers take, `connectMilliseconds` for each address, and four
/// requests, each at most as long as HttpOptions allow. All but the look-up end within 100 ms when
/// the thread is interrupted. Throws nothing but OV::InterruptedException.
[[nodiscard]] SYC_API OV::Array<Diagnosis::Step>
WalkToServer(const DiagnosisRequest::Login& login, std::uint32_t connectMilliseconds = 5000);
/// The step that keeps the user from the server; null when none does. An address that does not
/// answer is none beside one that does.
[[nodiscard]] SYC_API const Diagnosis::Step*
FindHindrance(const OV::Array<Diagnosis::Step>& steps) noexcept;

/// Looks at everything, on the calling thread; with a server it takes as long as WalkToServer, and
/// is ended as that is. What goes wrong is part of the answer; throws nothing but
/// OV::InterruptedException.
[[nodiscard]] SYC_API Diagnosis Diagnose(const DiagnosisRequest& request);

}  // namespace SYC
