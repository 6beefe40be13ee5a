#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"

#include <functional>

namespace Syncra::Server::ManagementTool::GUI {

/// Where a user works: a server, his login there and a project, under a name of his own. Empty
/// texts and port 0 are what was not remembered.
struct SYC_API ConnectionProfile {
    OV::UniString name;         ///< by which the user picks it
    OV::UniString serverName;   ///< as he writes it
    std::uint16_t port = 0;     ///< of the model service
    OV::UniString userName;     ///< login name
    OV::UniString projectName;  ///< that he works in

    friend bool operator==(const ConnectionProfile&, const ConnectionProfile&) = default;
};

/// The profiles of the user, one of them the current one, in "SYProfiles.xml" of the company's
/// folder in the roaming profile. Passwords are not among them: those are SyncraInfo's. All
/// processes of the user share the file; readers see it whole at any time, writers keep each other
/// off by "@SYProfiles.Lock" beside it. One thread at a time.
///
/// Reading throws Core::FileOpenningError and Core::ErrorReadingFile, writing those for writing and
/// OV::InterruptedException, as SyncraInfo does.
class SYC_API ConnectionProfiles {
public:
    /// Reads the file; there are no profiles without one, and none is made.
    ConnectionProfiles();
    ConnectionProfiles(const ConnectionProfiles&) = delete;
    ConnectionProfiles& operator=(const ConnectionProfiles&) = delete;

    /// Sorted by name.
    [[nodiscard]] const OV::Array<ConnectionProfile>& GetProfiles() const noexcept
    {
        return profiles_;
    }
    /// Null when there is none of that name. Holds until the profiles change.
    [[nodiscard]] const ConnectionProfile* Find(const OV::UniString& name) const;
    /// Empty when none is.
    [[nodiscard]] const OV::UniString& GetCurrentName() const noexcept { return currentName_; }

    /// Reads the file, lets `change` work on the profiles and saves them, all under one lock.
    void Update(const std::function<void(ConnectionProfiles&)>& change);
    /// Adds the profile or replaces the one of its name, which must not be empty.
    void Set(ConnectionProfile profile);
    /// False when there is none of that name. The current one leaves none current.
    bool Remove(const OV::UniString& name);
    /// False when there is none of that name.
    [[nodiscard]] bool SetCurrent(const OV::UniString& name);

    /// Where the file stands, or would.
    [[nodiscard]] const IO::Location& GetFileLocation() const noexcept { return fileLocation_; }

private:
    void ReadFromDisc();
    void WriteToDisc() const;

    IO::Location fileLocation_;
    OV::UniString currentName_;
    OV::Array<ConnectionProfile> profiles_;
};

}  // namespace Syncra::Server::ManagementTool::GUI
