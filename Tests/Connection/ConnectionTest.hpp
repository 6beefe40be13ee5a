#pragma once

#include "Cache/Detail/CacheFolders.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "CloseSession.hpp"
#include "OVRoot/System.hpp"
#include "ReadProjectConnection.hpp"
#include "Server/ServerTest.hpp"
#include "Support/LogCapture.hpp"
#include "SyncraURL.hpp"
#include "WriteProjectConnection.hpp"

/// The events that a check posted, in order.
using Events = std::vector<std::pair<std::int32_t, OV::UniString>>;

/// One host process's view of one project: a manager and the events it was told.
class Host {
public:
    Host(const IO::Location& url, const IO::Location& dataFolder)
        : manager(url, dataFolder, [this](std::int32_t code, const OV::UniString& text) {
              events.emplace_back(code, text);
          })
    {}

    Events events;
    SYC::ClientProjectConnectionManager manager;
};

/// A real server, and hosts on it.
class ConnectionTest : public ServerTest {
protected:
    using ServerTest::ServerTest;

    [[nodiscard]] IO::Location Url(const std::string& user, const std::u16string& project,
                                   std::uint16_t port = 0,
                                   const std::string& password = ServerProcess::Password) const
    {
        SYC::Inner::ProjectConnectionInfo info;
        info.serverName = u"127.0.0.1";
        info.port = port != 0 ? port : server.ModelPort();
        info.userName = OV::FromUtf8(user);
        info.password = OV::FromUtf8(password);
        info.projectName = project;
        return SYC::ToSyncraLocation(info);
    }
    [[nodiscard]] IO::Location DataFolder() const
    {
        return folder.GetLocation().Appended(u"Caches");
    }
};
