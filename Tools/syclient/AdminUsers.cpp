#include "AdminFields.hpp"
#include "Commands.hpp"
#include "IO/File.hpp"
#include "SyncraProtocol/Member.hpp"

namespace {

using namespace AdminFields;
using namespace Management;
namespace Protocol = Syncra::Protocol;
using ManagementCore::UserRepositoryManager;

template <class Record>
using UserFamily = AdminFamily<UserRepositoryManager, Record>;
template <class Record>
using Actions = AdminFamilyActions<UserRepositoryManager, Record>;

template <class Record>
AdminField<Record> Description()
{
    return Text<Record>("description", "description", "What people should know about it",
                        &Record::description, false);
}

template <class Record>
AdminField<Record> BuiltIn()
{
    return Shown<Record>("builtIn",
                         [](const Record& record, AdminSession&) { return Json(record.builtIn); });
}

AdminField<User> Colour()
{
    return {
        .name = "colour",
        .option = "colour",
        .placeholder = "#RRGGBB",
        .help = "The colour of the work of this user",
        .read = [](const User& user, AdminSession&) { return Json(ColourForDisplay(user.color)); },
        .write = [](User& user, const Values& values,
                    AdminSession&) { user.color = ParseColour(values.back()); }};
}

AdminField<User> Properties()
{
    static const std::string placeholder = "NAME=TEXT";
    return {.name = "properties",
            .option = "property",
            .placeholder = placeholder,
            .help = "The text of a custom property; no text takes it away. May be given again",
            .read =
                [](const User& user, AdminSession& session) {
                    Json json = Json::object();
                    for (const auto& [id, text] : user.properties)
                        json[OV::ToUtf8(session.properties.NameOf(id))] = ForJson(text);
                    return json;
                },
            .write =
                [](User& user, const Values& values, AdminSession& session) {
                    for (const auto& each : values) {
                        const auto [name, text] = SplitPair("property", each, placeholder);
                        const auto id = session.properties.IdOf(name);
                        user.properties.erase(id);
                        if (!text.empty())
                            user.properties[id] = OV::FromUtf8(text);
                    }
                },
            .isListed = false};
}

UserFamily<User> Users()
{
    using Manager = UserRepositoryManager;
    return {.word = "users",
            .single = "user",
            .keyName = "user",
            .keyLabel = "login name",
            .key = &User::loginName,
            .manager = &AdminSession::Users,
            .list = &Manager::GetUsers,
            .find = &Manager::FindUserByLoginName,
            .insert = &Manager::InsertUser,
            .update = &Manager::UpdateUser,
            .remove = &Manager::DeleteUser,
            .fields = {Text<User>("fullName", "full-name", "Full name; the login name without",
                                  &User::fullName),
                       Text<User>("email", "email", "E-mail address; empty for none", &User::email),
                       YesNo<User>("enabled", "Whether signing in is allowed", &User::enabled),
                       Colour(), Properties(),
                       ShownNames("groups", &User::groups, &AdminSession::groups)},
            .complete = [](User& user) {
                if (user.fullName.empty())
                    user.fullName = user.loginName;
            }};
}

/// A role is given one set at most.
AdminField<Role> SetOfRole()
{
    return {.name = "permissionSet",
            .option = "permission-set",
            .placeholder = "NAME",
            .help = "Permissions that it shares with other roles; empty for none",
            .read =
                [](const Role& role, AdminSession& session) {
                    return role.permissionSet.empty()
                               ? Json("")
                               : ForJson(session.permissionSets.NameOf(role.permissionSet));
                },
            .write =
                [](Role& role, const Values& values, AdminSession& session) {
                    role.permissionSet = values.back().empty()
                                             ? OV::UniString()
                                             : session.permissionSets.IdOf(values.back());
                }};
}

constexpr const char* PermissionsHelp =
    "What it allows, in place of what it did; may be given again, empty for nothing";

UserFamily<Role> Roles()
{
    using Manager = UserRepositoryManager;
    return {.word = "roles",
            .single = "role",
            .key = &Role::name,
            .manager = &AdminSession::Users,
            .list = &Manager::GetRoles,
            .find = &Manager::FindRole,
            .insert = &Manager::InsertRole,
            .update = &Manager::UpdateRole,
            .remove = &Manager::DeleteRole,
            .fields = {Description<Role>(),
                       Names("permissions", "permission", PermissionsHelp, &Role::permissions,
                             &AdminSession::permissions),
                       SetOfRole(), BuiltIn<Role>()}};
}

UserFamily<Group> Groups()
{
    using Manager = UserRepositoryManager;
    return {.word = "groups",
            .single = "group",
            .key = &Group::name,
            .manager = &AdminSession::Users,
            .list = &Manager::GetGroups,
            .find = &Manager::FindGroup,
            .insert = &Manager::InsertGroup,
            .update = &Manager::UpdateGroup,
            .remove = &Manager::DeleteGroup,
            .fields = {Description<Group>(),
                       ShownNames("users", &Group::users, &AdminSession::users), BuiltIn<Group>()}};
}

UserFamily<Permission> Permissions()
{
    using Manager = UserRepositoryManager;
    return {.word = "permissions",
            .single = "permission",
            .key = &Permission::name,
            .manager = &AdminSession::Users,
            .list = &Manager::GetPermissions,
            .find = &Manager::FindPermission,
            .insert = &Manager::InsertPermission,
            .update = &Manager::UpdatePermission,
            .remove = &Manager::DeletePermission,
            .fields = {Description<Permission>(), BuiltIn<Permission>()}};
}

UserFamily<PermissionSet> PermissionSets()
{
    using Manager = UserRepositoryManager;
    return {.word = "permission-sets",
            .single = "permission set",
            .key = &PermissionSet::name,
            .manager = &AdminSession::Users,
            .list = &Manager::GetPermissionSets,
            .find = &Manager::FindPermissionSet,
            .insert = &Manager::InsertPermissionSet,
            .update = &Manager::UpdatePermissionSet,
            .remove = &Manager::DeletePermissionSet,
            .fields = {Description<PermissionSet>(),
                       Names("permissions", "permission", PermissionsHelp,
                             &PermissionSet::permissions, &AdminSession::permissions)}};
}

AdminField<CustomPropertyDefinition> Choices()
{
    return {.name = "choices",
            .option = "choice",
            .placeholder = "TEXT",
            .help =
                "A text to choose, for the type choice, in place of those there were; may be given "
                "again",
            .read =
                [](const CustomPropertyDefinition& property, AdminSession&) {
                    Json json = Json::array();
                    for (const auto& choice : property.choices)
                        json.push_back(ForJson(choice));
                    return json;
                },
            .write =
                [](CustomPropertyDefinition& property, const Values& values, AdminSession&) {
                    property.choices.clear();
                    for (const auto& each : values)
                        if (!each.empty())
                            property.choices.push_back(OV::FromUtf8(each));
                }};
}

UserFamily<CustomPropertyDefinition> CustomProperties()
{
    using Manager = UserRepositoryManager;
    using Type = CustomPropertyDefinition::Type;
    return {.word = "properties",
            .single = "property",
            .key = &CustomPropertyDefinition::name,
            .manager = &AdminSession::Users,
            .list = &Manager::GetCustomPropertyDefinitions,
            .find = &Manager::FindCustomPropertyDefinition,
            .insert = &Manager::InsertCustomPropertyDefinition,
            .update = &Manager::UpdateCustomPropertyDefinition,
            .remove = &Manager::DeleteCustomPropertyDefinition,
            .fields = {Description<CustomPropertyDefinition>(),
                       Word<CustomPropertyDefinition, Type>(
                           "type", "What its texts must look like",
                           {{"text", Type::Text},
                            {"number", Type::Number},
                            {"yes-no", Type::YesNo},
                            {"choice", Type::Choice}},
                           [](auto& property) -> Type& { return property.type; }),
                       Choices()}};
}

void AddText(CLI::App& command, const std::string& option, const std::string& text,
             const std::string& help, std::string& value)
{
    command.add_option(option, value, help)->required()->option_text(text);
}

/// Prints that an action on a user was done.
void Tell(const AdminSession& session, const std::string& done, const User& user)
{
    const Output& output = session.GetContext().output;
    if (output.json)
        output.PrintJson({{"done", true}, {"user", ForJson(user.loginName)}});
    else
        output.PrintLine(done);
}

struct PasswordArguments {
    std::string user;
    PasswordSource source;

    void AddOptions(CLI::App& command)
    {
        AddText(command, "name", "NAME", "The login name of the user", user);
        source.AddOptions(command, "new-");
    }
};

void SetPassword(AdminSession& session, const PasswordArguments& arguments)
{
    const User user = Users().Find(session, arguments.user);
    const std::string name = ForDisplay(user.loginName);
    const OV::Secret password = arguments.source.ReadNew(name);
    session.Do(session.Users(), &UserRepositoryManager::SetUserPassword, user.id, password);
    Tell(session, "Changed the password of " + name + ", who is signed out.", user);
}

Protocol::Photo ReadPhoto(const std::string& file)
{
    auto data =
        IO::File::ReadInput(IO::Location::FromPath(OV::FromUtf8(file)), IO::File::MostOfValueFile);
    if (data.starts_with("\x89PNG"))
        return {u"image/png", std::move(data)};
    if (data.starts_with("\xff\xd8\xff"))
        return {u"image/jpeg", std::move(data)};
    throw OV::IllegalArgumentException(
        OV::StringView("\"" + file + "\" is no PNG and no JPEG picture."));
}

struct PhotoArguments {
    std::string user;
    std::string file;
    bool isCleared = false;

    void AddOptions(CLI::App& command)
    {
        AddText(command, "name", "NAME", "The login name of the user", user);
        // A group that hands options on to its command would get an unknown one back for ever.
        auto* what = command.add_option_group("what")->require_option(1)->fallthrough(false);
        what->add_option("--set", file, "A PNG or JPEG picture, at most 4 MiB")
            ->option_text("FILE");
        what->add_flag("--clear", isCleared, "Leave the user without a photo");
    }
};

void SetPhoto(AdminSession& session, const PhotoArguments& arguments)
{
    const auto photo = arguments.isCleared ? Protocol::Photo() : ReadPhoto(arguments.file);
    const User user = Users().Find(session, arguments.user);
    session.Do(session.Users(), &UserRepositoryManager::SetUserPhoto, user.id, photo);
    Tell(session,
         (arguments.isCleared ? "Took the photo away of " : "Set the photo of ") +
             ForDisplay(user.loginName) + ".",
         user);
}

struct MembershipArguments {
    bool (UserRepositoryManager::*change)(const OV::UniString& group,
                                          const OV::UniString& user) = nullptr;
    const char* done = "";
    std::string group{};
    std::string user{};

    void AddOptions(CLI::App& command)
    {
        AddText(command, "group", "GROUP", "The name of the group", group);
        AddText(command, "user", "USER", "The login name of the user", user);
    }
};

void ChangeMembership(AdminSession& session, const MembershipArguments& arguments)
{
    const Group group = Groups().Find(session, arguments.group);
    const User user = Users().Find(session, arguments.user);
    session.Do(session.Users(), arguments.change, group.id, user.id);
    Tell(session, ForDisplay(user.loginName) + arguments.done + ForDisplay(group.name) + ".", user);
}

struct DuplicateArguments {
    std::string role;
    std::string twin;

    void AddOptions(CLI::App& command)
    {
        AddText(command, "name", "NAME", "The name of the role", role);
        AddText(command, "new", "NEW", "The name of the new one", twin);
    }
};

void Duplicate(AdminSession& session, const DuplicateArguments& arguments)
{
    const auto roles = Roles();
    Role role = roles.Find(session, arguments.role);
    session.Do(session.Users(), &UserRepositoryManager::DuplicateRole, role.id,
               OV::FromUtf8(arguments.twin), role);
    Actions<Role>::Tell(roles, session, "Added", role);
}

template <class Record>
void Declare(CLI::App& command, Context& context, UserFamily<Record> family)
{
    command.require_subcommand(1);
    Actions<Record>::Add(command, context, std::move(family));
}

}  // namespace

void DeclareUsers(CLI::App& command, Context& context)
{
    Declare(command, context, Users());
    command.footer("A user who was added signs in once \"users password\" has set a password.");
    AddAdminAction(command, context, "password",
                   "Give a user a new password, which ends every sign-in with the old one",
                   &SetPassword);
    AddAdminAction(command, context, "photo", "Set the photo of a user, or take it away",
                   &SetPhoto);
}

void DeclareRoles(CLI::App& command, Context& context)
{
    Declare(command, context, Roles());
    AddAdminAction(command, context, "duplicate", "Add a role that allows what another one does",
                   &Duplicate);
}

void DeclareGroups(CLI::App& command, Context& context)
{
    using Manager = UserRepositoryManager;
    Declare(command, context, Groups());
    AddAdminAction(command, context, "join", "Put a user into a group", &ChangeMembership,
                   {.change = &Manager::AddToGroup, .done = " is in "});
    AddAdminAction(command, context, "leave", "Take a user out of a group", &ChangeMembership,
                   {.change = &Manager::RemoveFromGroup, .done = " is not in "});
}

void DeclarePermissions(CLI::App& command, Context& context)
{
    Declare(command, context, Permissions());
}

void DeclarePermissionSets(CLI::App& command, Context& context)
{
    Declare(command, context, PermissionSets());
}

void DeclareProperties(CLI::App& command, Context& context)
{
    Declare(command, context, CustomProperties());
}
