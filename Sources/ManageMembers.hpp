#pragma once

#include "Flow/Flow.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <optional>

namespace SYC {

/// Changes the members of an open project one by one, and ends their sessions. The user is a member
/// himself, and manages the members: the server allows no more than his own role has to who is no
/// project manager. What was changed the members of the project hear by their signals.
class SYC_API ManageMembers final : public Flow {
public:
    /// In the project of that id, as the user who signs in. Asks nothing yet.
    ManageMembers(Syncra::Client::SignInData login, OV::UniString projectId,
                  const FlowExecutors& executors)
        : Flow(executors), login_(std::move(login)), projectId_(std::move(projectId))
    {}

    /// What the user may.
    struct Rights {
        /// In every project, whatever his role is in this one.
        bool managesAll = false;
        OV::Array<OV::UniString> roles;  ///< that a member may have, in the server's order
    };
    /// Asks the server what the user may, and for its roles: some four requests.
    void Look();
    /// Nothing before a Look that succeeded.
    [[nodiscard]] const std::optional<Rights>& GetRights() const noexcept { return rights_; }
    /// Whether a role lets its members manage the others.
    [[nodiscard]] static bool Manages(const OV::HashSet<OV::UniString>& permissions)
    {
        return permissions.contains(u"ManageMembers");
    }

    /// Gives a member another role, which the server refuses when it may more than the user.
    void SetRole(const OV::UniString& loginName, const OV::UniString& role);
    /// Ends his session, and deletes his mails. One who is none any more counts as taken out.
    void TakeOut(const OV::UniString& loginName);
    /// He is told who ended it, and the reason; what he has not sent yet stays on his computer. One
    /// who has no session any more is as he should be.
    void EndSession(const OV::UniString& loginName, const OV::UniString& reason);

private:
    const Syncra::Client::SignInData login_;
    const OV::UniString projectId_;
    std::optional<Rights> rights_;
};

}  // namespace SYC
