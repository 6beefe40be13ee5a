#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Management/ConnectedModule.hpp"
#include "SyncraProtocol/Management/CustomPropertyDefinition.hpp"
#include "SyncraProtocol/Management/Group.hpp"
#include "SyncraProtocol/Management/Permission.hpp"
#include "SyncraProtocol/Management/PermissionSet.hpp"
#include "SyncraProtocol/Management/ProjectCategory.hpp"
#include "SyncraProtocol/Management/Role.hpp"
#include "SyncraProtocol/Management/User.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"

namespace Nexar {

namespace Records = Syncra::Server::Management;

enum class Readers { Everybody, Managers };
enum class Writers { Administrators, ProjectManagers };

/// What store and routes must know about one kind of record: the words it goes by, who may read and
/// write it, its statements, and how it is read from a row of `select`, checked and written.
///
/// `select` finds all; `nameColumn` holds what one is asked for by, beside its id, and `order` is
/// the column that sorts a list. `taken` takes $1 a name and $2 the id of the record that may have
/// it. The others take $1 an id: `inUse` has a row while something keeps the record from being
/// deleted, `projects` has those whose members a change of it concerns. `inUse` and `projects` may
/// be null. Write inserts, or replaces the record of that id.
template <class Record>
struct Family;

#define NEXAR_FAMILY_MEMBERS(Record)                                                               \
    static const char *const select, *const nameColumn, *const order;                              \
    static const char *const taken, *const remove, *const inUse, *const projects;                  \
    [[nodiscard]] static Record Read(const Statement& row);                                        \
    static void Check(Database& database, const Record& record);                                   \
    static void Write(Database& database, const Record& record);

#define NEXAR_FAMILY(Record, Path, Noun, WhoReads, WhoWrites)                                      \
    template <>                                                                                    \
    struct Family<Records::Record> {                                                               \
        static constexpr const char* path = Path;                                                  \
        static constexpr const char* noun = Noun;                                                  \
        static constexpr Readers readers = Readers::WhoReads;                                      \
        static constexpr Writers writers = Writers::WhoWrites;                                     \
        NEXAR_FAMILY_MEMBERS(Records::Record)                                                      \
    };

NEXAR_FAMILY(User, "users", "user", Managers, Administrators)
NEXAR_FAMILY(Role, "roles", "role", Everybody, Administrators)
NEXAR_FAMILY(Group, "groups", "group", Managers, Administrators)
NEXAR_FAMILY(Permission, "permissions", "permission", Everybody, Administrators)
NEXAR_FAMILY(PermissionSet, "permission-sets", "permission set", Everybody, Administrators)
NEXAR_FAMILY(CustomPropertyDefinition, "custom-properties", "custom property", Everybody,
             Administrators)
NEXAR_FAMILY(V2::Project, "projects", "project", Managers, ProjectManagers)
NEXAR_FAMILY(ProjectCategory, "categories", "category", Everybody, ProjectManagers)
NEXAR_FAMILY(ConnectedModule, "modules", "module", Everybody, Administrators)

#undef NEXAR_FAMILY
#undef NEXAR_FAMILY_MEMBERS

}  // namespace Nexar
