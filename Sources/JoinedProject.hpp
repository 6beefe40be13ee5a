#pragma once

#include "ClientProjectConnectionManager.hpp"
#include "Messaging/MailClient.hpp"
#include "OVRoot/Export.hpp"

#include <memory>

namespace SYC {

/// A project that is open in this process: its manager, with the signals of the server, its members
/// and the user's mails. One that the user keeps offline leaves the server alone until he lifts
/// that. Made, used and destroyed on the main thread, the one of `home`. The server
/// session stays when it goes: CloseSession or LeaveProject end it.
class SYC_API JoinedProject {
public:
    /// The server id of the project is that of a check that passed, or of the cache. Begins to
    /// listen to the server, and asks it for members and mails. There are no mails when another
    /// MailClient exists in this process. `box` is that of the cache folder, which a worker may
    /// have read; without one it is read here. Throws as MailClient does.
    JoinedProject(std::shared_ptr<ClientProjectConnectionManager> manager,
                  const OV::UniString& projectId, OV::Executor& home,
                  std::unique_ptr<MailBox> box = nullptr);
    /// Ends what is under way within 100 ms each.
    ~JoinedProject();
    JoinedProject(const JoinedProject&) = delete;
    JoinedProject& operator=(const JoinedProject&) = delete;

    /// Keeps what it works with, the executor above all, until it is gone itself.
    void Keep(std::shared_ptr<const void> owned) noexcept { kept_ = std::move(owned); }

    /// Live as long as this object.
    /// @{
    [[nodiscard]] ClientProjectConnectionManager& GetManager() const noexcept { return *manager_; }
    /// For who closes the project when this is gone.
    [[nodiscard]] const std::shared_ptr<ClientProjectConnectionManager>&
    GetSharedManager() const noexcept
    {
        return manager_;
    }
    [[nodiscard]] ProjectMembers& GetMembers() noexcept { return members_; }
    /// @}
    /// Null when there are none.
    [[nodiscard]] MailClient* GetMails() const noexcept { return mails_.get(); }

private:
    std::shared_ptr<const void> kept_;
    std::shared_ptr<ClientProjectConnectionManager> manager_;
    ProjectMembers members_;
    std::unique_ptr<MailClient> mails_;
};

}  // namespace SYC
