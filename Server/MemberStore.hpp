#pragma once

#include "Database.hpp"
#include "SyncraProtocol/Member.hpp"

#include <string>
#include <vector>

namespace Nexar {

/// Who belongs to which project, in which role and under which short number.
class MemberStore {
public:
    explicit MemberStore(Database& database) : database_(database) {}

    /// By short number.
    [[nodiscard]] std::vector<Syncra::Protocol::Member> List(const std::string& projectId);
    /// Gives the member a short number that nobody had in this project before: data and mails of a
    /// former member name him by his. False when he is a member already. Throws Refusal when the
    /// numbers are used up.
    bool Add(const std::string& projectId, const std::string& userId, const std::string& role);
    /// False when he is no member.
    [[nodiscard]] bool SetRole(const std::string& projectId, const std::string& userId,
                               const std::string& role);
    /// With his sessions and his mail. False when he is no member.
    [[nodiscard]] bool Remove(const std::string& projectId, const std::string& userId);

    [[nodiscard]] bool HasPermission(const std::string& projectId, const std::string& userId,
                                     const std::string& permission);
    /// Every permission that the members of a role have; all of none for no role.
    [[nodiscard]] bool HasPermissionsOf(const std::string& projectId, const std::string& userId,
                                        const std::string& role);
    /// Empty when he is no member.
    [[nodiscard]] std::string RoleOf(const std::string& projectId, const std::string& userId);
    /// In any project.
    [[nodiscard]] bool HasPermissionAnywhere(const std::string& userId,
                                             const std::string& permission);

private:
    Database& database_;
};

/// What members of a role may do.
[[nodiscard]] OV::HashSet<OV::UniString> PermissionsOf(Database& database, const std::string& role);

}  // namespace Nexar
