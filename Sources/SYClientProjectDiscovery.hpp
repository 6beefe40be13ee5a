#pragma once

#include "Flow/Flow.hpp"
#include "IO/Location.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace SYC {

/// A project server that a user may choose.
struct SYC_API DiscoveredServer {
    OV::UniString host;      ///< name or address
    std::uint16_t port = 0;  ///< of the model service; 0 when nobody said it
    OV::UniString title;     ///< name for people; mostly empty
    /// The login names under which this computer knows it, each once, by name.
    OV::Array<OV::UniString> users;
    std::uint32_t cachedProjects = 0;  ///< how many caches of it this computer has
    bool isKnown = false;              ///< to this computer: used before, or a cache is of it
    bool isFound = false;              ///< told in the local network just now
    bool isLast = false;               ///< the one that was used last
};

/// The servers among which a user finds his projects: first those that this computer knows (from
/// its list of servers and stored passwords, its profiles and its caches), at once and without any
/// request, then those that tell of themselves in the local network, as they are heard. A server is
/// known by host, in any letter case, and port.
class SYC_API SYClientProjectDiscovery final : public Flow {
public:
    /// The caches are those below `dataFolder`, or below the main project folder when it is empty.
    SYClientProjectDiscovery(IO::Location dataFolder, const FlowExecutors& executors);
    ~SYClientProjectDiscovery() override;

    /// Reads anew what this computer knows, and listens to the local network from then on, as long
    /// as this lives. Nobody waits for that: whoever is heard comes into the list, and goes from it
    /// when he ends, and the observers are told.
    void Refresh();

    /// The one that was used last, the other known ones by name, then those that were found.
    [[nodiscard]] const OV::Array<DiscoveredServer>& GetServers() const noexcept
    {
        return servers_;
    }

private:
    class Listening;

    void Combine();

    IO::Location dataFolder_;
    OV::Array<DiscoveredServer> known_;
    OV::Array<DiscoveredServer> found_;
    OV::Array<DiscoveredServer> servers_;
    std::shared_ptr<Listening> listening_;
};

}  // namespace SYC
