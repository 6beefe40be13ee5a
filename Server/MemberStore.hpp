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
    /// former member name him by his. Needs a transaction.
    void Add(const std::string& projectId, const std::string& userId, const std::string& role);

private:
    Database& database_;
};

/// What members of a role may do.
[[nodiscard]] OV::HashSet<OV::UniString> PermissionsOf(Database& database, const std::string& role);

}  // namespace Nexar
