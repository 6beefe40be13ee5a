#pragma once

#include "OVRoot/Lock.hpp"
#include "OVRoot/Secret.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"

#include <functional>
#include <memory>
#include <optional>

namespace SYC {

/// Requests about the opened project, made on worker threads with a client beside the opened
/// project's own. A client that served is kept for the next request. Safe on any thread, except
/// for its making, which asks the manager.
class OpenedProject {
public:
    /// Throws OV::IllegalArgumentException when the project was never checked: its id is not known
    /// then.
    explicit OpenedProject(SYCB::ProjectConnectionManagerInterface& manager);
    OpenedProject(const OpenedProject&) = delete;
    OpenedProject& operator=(const OpenedProject&) = delete;

    [[nodiscard]] const OV::UniString& GetProjectId() const noexcept { return projectId_; }
    [[nodiscard]] const OV::UniString& GetLoginName() const { return location_.GetUserName(); }
    /// As the server told it at the last check; may be empty.
    [[nodiscard]] const OV::UniString& GetUserFullName() const noexcept { return userFullName_; }
    [[nodiscard]] const IO::Location& GetLocation() const noexcept { return location_; }
    /// In place of the one in the project's location, for later requests.
    void SetPassword(const OV::Secret& password);
    [[nodiscard]] OV::Secret GetPassword() const;

    /// Runs `ask` with a signed-in client. Throws what signing in and `ask` throw.
    void Ask(const std::function<void(Syncra::Client::SyncraClient&)>& ask);

private:
    using Client = std::unique_ptr<Syncra::Client::SyncraClient>;
    [[nodiscard]] Client Take(std::uint64_t& passwordNumber);

    SYCB::ProjectConnectionManagerInterface& manager_;
    const IO::Location location_;
    const OV::UniString projectId_;
    const OV::UniString userFullName_;
    mutable OV::Lock lock_;
    std::optional<OV::Secret> password_ OV_GUARDED_BY(lock_);
    /// Counts the passwords that were set.
    std::uint64_t passwordNumber_ OV_GUARDED_BY(lock_) = 0;
    Client idle_ OV_GUARDED_BY(lock_);
};

}  // namespace SYC
