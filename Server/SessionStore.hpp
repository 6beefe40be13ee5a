#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Session.hpp"

#include <optional>
#include <string>
#include <vector>

namespace Nexar {

/// Working sessions: at most one a user and project, which outlives the server's process.
class SessionStore {
public:
    explicit SessionStore(Database& database) : database_(database) {}

    [[nodiscard]] std::optional<Syncra::Protocol::Session> Find(const std::string& projectId,
                                                                const std::string& userId);
    /// Those of every member, by his short number.
    [[nodiscard]] std::vector<Syncra::Protocol::Session> List(const std::string& projectId);
    /// The new session, or nothing when the user has one already. The user must be a member.
    [[nodiscard]] std::optional<Syncra::Protocol::Session> Start(const std::string& projectId,
                                                                 const std::string& userId);
    /// Ends the user's own session; returns its project, or nothing when it is not his or has
    /// ended.
    [[nodiscard]] std::optional<std::string> Close(const std::string& sessionId,
                                                   const std::string& userId);

    /// With project and computer, by project and beginning; of one project unless `projectId` is
    /// empty.
    [[nodiscard]] std::vector<Syncra::Protocol::SessionAtWork>
    ListAtWork(const std::string& projectId);
    /// A session, whoever has it.
    struct Owned {
        std::string projectId;
        std::string userId;
    };
    [[nodiscard]] std::optional<Owned> FindOwner(const std::string& sessionId);
    /// Ends a session and keeps for its owner who did so and why. False when it has ended already.
    [[nodiscard]] bool End(const std::string& sessionId, const Owned& owner,
                           const std::string& endedBy, const OV::UniString& reason);
    /// How the user's session was ended by somebody; nothing when nobody did.
    [[nodiscard]] std::optional<Syncra::Protocol::SessionEnd> FindEnd(const std::string& sessionId,
                                                                      const std::string& userId);

    /// The project of a session of the user; nothing when it is none of his.
    [[nodiscard]] std::optional<std::string> FindProject(const std::string& sessionId,
                                                         const std::string& userId);
    /// Whether he is a member of the session's project.
    [[nodiscard]] bool IsVisibleTo(const std::string& sessionId, const std::string& userId);
    /// Empty when the attribute was never set.
    [[nodiscard]] std::string GetAttribute(const std::string& sessionId, const std::string& name);
    /// Throws Refusal when the session has `most` others already.
    void SetAttribute(const std::string& sessionId, const std::string& name,
                      const std::string& value, std::size_t most);

private:
    Database& database_;
};

}  // namespace Nexar
