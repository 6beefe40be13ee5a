#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Project.hpp"

#include <optional>
#include <string>
#include <vector>

namespace Nexar {

/// A project as the store holds it.
struct StoredProject {
    Syncra::Protocol::Project record;
    bool isPublic = false;
};

class ProjectStore {
public:
    explicit ProjectStore(Database& database) : database_(database) {}

    /// The ProjectList of those the user is a member of, and the public ones, in order of creation.
    [[nodiscard]] std::string VisibleJson(const std::string& userId);
    /// The same projects with their members counted; who is at work there, the store does not know.
    [[nodiscard]] std::vector<Syncra::Protocol::ProjectOverview>
    OverviewFor(const std::string& userId);
    [[nodiscard]] bool NameExists(const std::string& name);
    /// Who writes holds the project from here on: one after the other changes what is in it.
    [[nodiscard]] std::optional<Syncra::Protocol::ProjectState>
    FindState(const std::string& projectId);
    [[nodiscard]] bool IsMember(const std::string& projectId, const std::string& userId);

    void Add(const StoredProject& project);
    void SetState(const std::string& projectId, Syncra::Protocol::ProjectState state);
    [[nodiscard]] bool RoleExists(const std::string& role);

private:
    Database& database_;
};

}  // namespace Nexar
