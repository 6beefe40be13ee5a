#pragma once

#include "ClientProjectConnectionManager.hpp"
#include "ReadProjectConnection.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraURL.hpp"

#include <stdexcept>

/// A server, and hosts of the sample team's "Harbour Bridge" on it.
struct Scene {
    std::unique_ptr<SYC::ClientProjectConnectionManager> Open(const OV::UniString& user)
    {
        SYC::Inner::ProjectConnectionInfo info;
        info.serverName = u"127.0.0.1";
        info.port = server.ModelPort();
        info.userName = user;
        info.password = OV::FromUtf8(ServerProcess::Password);
        info.projectName = u"Harbour Bridge";
        auto manager = std::make_unique<SYC::ClientProjectConnectionManager>(
            SYC::ToSyncraLocation(info), folder.GetLocation(), nullptr);
        SYC::ReadProjectConnection connection(manager.get());
        if (connection.Check(true, false, false, false) != SYC::CheckResult::Passed)
            throw std::runtime_error("the project cannot be opened");
        return manager;
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    SYCB::MessageLoopExecutor executor;
};
