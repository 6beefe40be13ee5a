#pragma once

#include "SyncraProtocol/Detail/Json.hpp"
#include "SyncraServerManagement/ConnectedModule.hpp"
#include "SyncraServerManagement/CustomPropertyDefinition.hpp"
#include "SyncraServerManagement/Group.hpp"
#include "SyncraServerManagement/ProjectCategory.hpp"
#include "SyncraServerManagement/RepositoryContents.hpp"
#include "SyncraServerManagement/ServerConfiguration.hpp"
#include "SyncraServerManagement/User.hpp"
#include "SyncraServerManagement/V2/Project.hpp"

/// JSON form of the records of the management service, as strict as SyncraProtocol/Detail/Json.hpp.
/// One line a record:
///     SYC_RECORD_JSON(Record) declares `json ToJson(const Record&)` and `FromJson<Record>`.
#define SYC_RECORD_JSON(Record)                                                                    \
    namespace Syncra::Server::Management {                                                         \
    [[nodiscard]] nlohmann::json ToJson(const Record& record);                                     \
    }                                                                                              \
    template <>                                                                                    \
    Syncra::Server::Management::Record                                                             \
    Syncra::Protocol::FromJson<Syncra::Server::Management::Record>(const nlohmann::json& value);

SYC_RECORD_JSON(User)
SYC_RECORD_JSON(Role)
SYC_RECORD_JSON(Group)
SYC_RECORD_JSON(Permission)
SYC_RECORD_JSON(PermissionSet)
SYC_RECORD_JSON(CustomPropertyDefinition)
/// Without its password. Codes of states that are not known here pass through.
SYC_RECORD_JSON(V2::Project)
SYC_RECORD_JSON(ProjectCategory)
SYC_RECORD_JSON(ConnectedModule)
SYC_RECORD_JSON(ServerConfiguration)
SYC_RECORD_JSON(RepositoryContents)

#undef SYC_RECORD_JSON
