#pragma once

#include "SyncraProtocol/Detail/Json.hpp"
#include "SyncraProtocol/Management/ConnectedModule.hpp"
#include "SyncraProtocol/Management/CustomPropertyDefinition.hpp"
#include "SyncraProtocol/Management/Group.hpp"
#include "SyncraProtocol/Management/ProjectCategory.hpp"
#include "SyncraProtocol/Management/RepositoryContents.hpp"
#include "SyncraProtocol/Management/ServerConfiguration.hpp"
#include "SyncraProtocol/Management/User.hpp"
#include "SyncraProtocol/Management/V2/Project.hpp"

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
