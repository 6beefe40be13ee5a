#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Nexar {

/// Who belongs to which project, in which role and under which short number.
class MemberStore {
public:
    explicit MemberStore(Database& database) : database_(database) {}

    /// By short number.
    [[nodiscard]] std::vector<Syncra::Protocol::Member> List(const std::string& projectId);
    /// Those of `users`, or all, with their sessions and the stamps of their photos, and once each
    /// what those of a role may do. Who of `users` is no member is gone.
    [[nodiscard]] Syncra::Protocol::MemberChangesBody
    Changes(const std::string& projectId, const std::optional<std::set<std::string>>& users);
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

/// Whether role `r` has permission `p`, by itself or by its permission set: a condition within a
/// statement.
#define NEXAR_ROLE_HAS_PERMISSION                                                                  \
    "(EXISTS (SELECT 1 FROM role_grants g WHERE g.role_id = r.id AND g.permission_id = p.id) "     \
    "OR EXISTS (SELECT 1 FROM permission_set_grants g WHERE g.set_id = r.permission_set "          \
    "AND g.permission_id = p.id))"

/// What members of roles may do, looked up once a role.
class RolePermissions {
public:
    explicit RolePermissions(Database& database) : database_(database) {}
    /// None for no role. Good while this object lives.
    [[nodiscard]] const OV::HashSet<OV::UniString>& Of(const std::string& role);

private:
    Database& database_;
    std::map<std::string, OV::HashSet<OV::UniString>> sets_;
};

}  // namespace Nexar
