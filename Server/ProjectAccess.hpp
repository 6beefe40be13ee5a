#pragma once

#include "ProjectStore.hpp"
#include "Router.hpp"

namespace Nexar {

/// The state of the project, or a refusal that says why not.
[[nodiscard]] Syncra::Protocol::ProjectState RequireProject(ProjectStore& projects,
                                                            const std::string& projectId);
/// The same for its members alone.
Syncra::Protocol::ProjectState RequireMembership(ProjectStore& projects, const Call& call,
                                                 const std::string& projectId);

}  // namespace Nexar
