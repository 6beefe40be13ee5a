#pragma once

#include "ManagementTool/AsyncTaskExecuting.hpp"
#include "ManagementTool/UserGroupType.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::ManagementTool::GUI {

/// Connects to a server, signs the user in, and looks for him in a group. What it found out is to
/// be read when it has finished.
class SYC_API SetServerConnectionTask final : public Core::AsyncTaskExecuting::Task {
public:
    /// `port` is the model service's, above 32767 as a negative number.
    SetServerConnectionTask(OV::UniString hostName, short port, OV::UniString userName,
                            OV::Secret password, Core::UserGroupType::Value group,
                            bool withoutVersionCheck);

    /// The server answered.
    [[nodiscard]] bool HasServerConnectionSucceeded() const noexcept { return isConnected_; }
    /// The user was signed in and belongs to the group.
    [[nodiscard]] bool HasUserAuthenticationSucceeded() const noexcept { return isAuthenticated_; }
    /// Not shown to be of a version that this client cannot work with.
    [[nodiscard]] bool IsServerCompatible() const noexcept { return isCompatible_; }

private:
    bool RunTask() override;
    void SignIn();

    OV::UniString hostName_;
    short port_;
    OV::UniString userName_;
    OV::Secret password_;
    Core::UserGroupType::Value group_;
    bool withoutVersionCheck_;
    /// Read while the worker may still run, after the user gave up.
    std::atomic<bool> isConnected_ = false;
    std::atomic<bool> isAuthenticated_ = false;
    std::atomic<bool> isCompatible_ = true;
};

}  // namespace Syncra::Server::ManagementTool::GUI
