#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/Thread.hpp"
#include "OVRoot/UniString.hpp"

#include <functional>

/// Project servers that tell of themselves in the local network by DNS-SD, as services of the type
/// "_nexar-server._tcp". The system's daemon for that is asked; where there is none, or the library
/// was built without its client, nobody is heard of and nothing is told. What the network says is
/// worth as much as anybody's word: TLS shows whether a server is the right one.
namespace Communication {

struct LocalServer {
    OV::UniString title;     ///< name for people, one a network
    OV::UniString host;      ///< an address, behind "https://" when the server speaks TLS
    std::uint16_t port = 0;  ///< of the model service

    friend bool operator==(const LocalServer&, const LocalServer&) = default;
};

/// Listens while it lives, on a thread of its own. Neither end of it waits for more than a moment.
class LocalServerBrowser {
public:
    /// All that are heard of, by title; on the browser's thread, whenever they become others.
    using Heard = std::function<void(const OV::Array<LocalServer>& servers)>;

    explicit LocalServerBrowser(Heard heard);

private:
    OV::Thread thread_;
};

/// Tells of a server while it lives, on a thread of its own, also to a daemon that comes later.
class LocalServerAnnouncement {
public:
    /// Where another server has that title, a number behind it makes it another one.
    LocalServerAnnouncement(OV::UniString title, std::uint16_t port, bool isSecure);

private:
    OV::Thread thread_;
};

}  // namespace Communication
