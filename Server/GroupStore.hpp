#pragma once

#include "OVRoot/UniString.hpp"
#include "Store/Database.hpp"

#include <string>
#include <vector>

namespace Nexar {

/// The server's user groups, which say what a user may do beyond his projects.
namespace UserGroups {
inline constexpr const char* Administrators = "Administrators";
inline constexpr const char* ProjectManagers = "ProjectManagers";
inline constexpr const char* ProjectWorkflowManagers = "ProjectWorkflowManagers";
}  // namespace UserGroups

class GroupStore {
public:
    explicit GroupStore(Database& database) : database_(database) {}

    /// By name.
    [[nodiscard]] std::vector<OV::UniString> GroupsOf(const std::string& userId);
    [[nodiscard]] bool IsIn(const std::string& userId, const std::string& group);
    /// Does nothing when he is in it already.
    void Add(const std::string& userId, const std::string& group);
    /// False when he is not in it.
    [[nodiscard]] bool Remove(const std::string& userId, const std::string& group);

private:
    Database& database_;
};

}  // namespace Nexar
