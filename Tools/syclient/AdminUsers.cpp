#include "AdminCommands.hpp"
#include "AdminFields.hpp"
#include "IO/File.hpp"

namespace {

using namespace AdminFields;
using namespace Management;
namespace Protocol = Syncra::Protocol;
using ManagementCore::UserRepositoryManager;

template <class Record>
using UserFamily = AdminFamily<UserRepositoryManager, Record>;
template <class Record>
using Commands = AdminFamilyCommands<UserRepositoryManager, Record>;

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
    return {"colour",
            "colour",
            "#RRGGBB",
            "The colour of the work of this user",
            [](const User& user, AdminSession&) { return Json(ColourText(user.color)); },
            [](User& user, const Values& values, AdminSession&) {
                user.color = ParseColour(values.back());
            }};
}

AdminField<User> Properties()
{
    static const std::string placeholder = "NAME=TEXT";
    return {"properties",
            "property",
            placeholder,
            "The text of a custom property; no text takes it away. May be given again",
            [](const User& user, AdminSession& session) {
                Json json = Json::object();
                for (const auto& [id, text] : user.properties)
                    json[OV::ToUtf8(session.properties.NameOf(id))] = ForJson(text);
                return json;
            },
            [](User& user, const Values& values, AdminSession& session) {
                for (const auto& each : values) {
                    const auto [name, text] = SplitPair("property", each, placeholder);
                    const auto id = session.properties.IdOf(name);
                    user.properties.erase(id);
                    if (!text.empty())
                        user.properties[id] = OV::FromUtf8(text);
                }
            },
            false};
}

UserFamily<User> Users()
{
    using Manager = UserRepositoryManager;
    return {"users",
            "user",
            "loginName",
            &User::loginName,
            &AdminSession::Users,
            &Manager::GetUsers,
            &Manager::FindUserByLoginName,
            &Manager::InsertUser,
            &Manager::UpdateUser,
            &Manager::DeleteUser,
            {Text<User>("fullName", "full-name", "Full name", &User::fullName),
             Text<User>("email", "email", "E-mail address; empty for none", &User::email),
             YesNo<User>("enabled", "Whether signing in is allowed", &User::enabled), Colour(),
             Properties(), ShownNames("groups", &User::groups, &AdminSession::groups)}};
}

/// A role is given one set at most.
AdminField<Role> SetOfRole()
{
    return {"permissionSet",
            "permission-set",
            "NAME",
            "Permissions that it shares with other roles; empty for none",
            [](const Role& role, AdminSession& session) {
                return role.permissionSet.empty()
                           ? Json("")
                           : ForJson(session.permissionSets.NameOf(role.permissionSet));
            },
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
    return {"roles",
            "role",
            "name",
            &Role::name,
            &AdminSession::Users,
            &Manager::GetRoles,
            &Manager::FindRole,
            &Manager::InsertRole,
            &Manager::UpdateRole,
            &Manager::DeleteRole,
            {Description<Role>(),
             Names("permissions", "permission", PermissionsHelp, &Role::permissions,
                   &AdminSession::permissions),
             SetOfRole(), BuiltIn<Role>()}};
}

UserFamily<Group> Groups()
{
    using Manager = UserRepositoryManager;
    return {"groups",
            "group",
            "name",
            &Group::name,
            &AdminSession::Users,
            &Manager::GetGroups,
            &Manager::FindGroup,
            &Manager::InsertGroup,
            &Manager::UpdateGroup,
            &Manager::DeleteGroup,
            {Description<Group>(), ShownNames("users", &Group::users, &AdminSession::users),
             BuiltIn<Group>()}};
}

UserFamily<Permission> Permissions()
{
    using Manager = UserRepositoryManager;
    return {"permissions",
            "permission",
            "name",
            &Permission::name,
            &AdminSession::Users,
            &Manager::GetPermissions,
            &Manager::FindPermission,
            &Manager::InsertPermission,
            &Manager::UpdatePermission,
            &Manager::DeletePermission,
            {Description<Permission>(), BuiltIn<Permission>()}};
}

UserFamily<PermissionSet> PermissionSets()
{
    using Manager = UserRepositoryManager;
    return {"permission-sets",
            "permission set",
            "name",
            &PermissionSet::name,
            &AdminSession::Users,
            &Manager::GetPermissionSets,
            &Manager::FindPermissionSet,
            &Manager::InsertPermissionSet,
            &Manager::UpdatePermissionSet,
            &Manager::DeletePermissionSet,
            {Description<PermissionSet>(),
             Names("permissions", "permission", PermissionsHelp, &PermissionSet::permissions,
                   &AdminSession::permissions)}};
}

AdminField<CustomPropertyDefinition> Choices()
{
    return {"choices",
            "choice",
            "TEXT",
            "A text to choose, for the type choice, in place of those there were; may be given "
            "again",
            [](const CustomPropertyDefinition& property, AdminSession&) {
                Json json = Json::array();
                for (const auto& choice : property.choices)
                    json.push_back(ForJson(choice));
                return json;
            },
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
    return {"properties",
            "property",
            "name",
            &CustomPropertyDefinition::name,
            &AdminSession::Users,
            &Manager::GetCustomPropertyDefinitions,
            &Manager::FindCustomPropertyDefinition,
            &Manager::InsertCustomPropertyDefinition,
            &Manager::UpdateCustomPropertyDefinition,
            &Manager::DeleteCustomPropertyDefinition,
            {Description<CustomPropertyDefinition>(),
             Word<CustomPropertyDefinition, Type>(
                 "type", "What its texts must look like",
                 {{"text", Type::Text},
                  {"number", Type::Number},
                  {"yes-no", Type::YesNo},
                  {"choice", Type::Choice}},
                 [](auto& property) -> Type& { return property.type; }),
             Choices()}};
}

CLI::Option* AddText(CLI::App& command, const std::string& option, const std::string& text,
                     const std::string& help, std::string& value)
{
    return command.add_option(option, value, help)->required()->option_text(text);
}

/// Prints that an action on a user was done.
void Tell(const AdminSession& session, const std::string& done, const User& user)
{
    const Output& output = session.GetContext().output;
    if (output.json)
        output.PrintJson({{"done", true}, {"loginName", ForJson(user.loginName)}});
    else
        output.PrintLine(done);
}

/// Asked for twice where it is typed unseen.
OV::Secret ReadNewPassword(const PasswordSource& source, const std::string& user)
{
    OV::Secret password = source.Read(user + " (new)");
    if (source.IsGiven())
        return password;
    if (password != source.Read(user + " (new, again)"))
        throw OV::IllegalArgumentException(
            OV::StringView("Nothing is changed: the two passwords differ."));
    return password;
}

struct PasswordArguments {
    std::string user;
    PasswordSource source;
};

void SetPassword(AdminSession& session, const PasswordArguments& arguments)
{
    const User user = Users().Find(session, arguments.user);
    const std::string name = ForDisplay(user.loginName);
    const OV::Secret password = ReadNewPassword(arguments.source, name);
    session.Do(session.Users(), &UserRepositoryManager::SetUserPassword, user.id, password);
    Tell(session, "Changed the password of " + name + ", who is signed out.", user);
}

void AddPassword(CLI::App& users, Context& context)
{
    const auto arguments = std::make_shared<PasswordArguments>();
    auto* command =
        AddAdminAction(users, context, "password",
                       "Give a user a new password, which ends every sign-in with the old one",
                       [arguments](AdminSession& session) { SetPassword(session, *arguments); });
    AddText(*command, "name", "NAME", "The login name of the user", arguments->user);
    arguments->source.AddOptions(*command, "new-");
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

void AddPhoto(CLI::App& users, Context& context)
{
    const auto arguments = std::make_shared<PhotoArguments>();
    auto* command =
        AddAdminAction(users, context, "photo", "Set the photo of a user, or take it away",
                       [arguments](AdminSession& session) { SetPhoto(session, *arguments); });
    AddText(*command, "name", "NAME", "The login name of the user", arguments->user);
    auto* what = command->add_option_group("what")->require_option(1);
    what->add_option("--set", arguments->file, "A PNG or JPEG picture, at most 4 MiB")
        ->option_text("FILE");
    what->add_flag("--clear", arguments->isCleared, "Leave the user without a photo");
}

/// "groups join" and "groups leave".
void AddMembership(CLI::App& groups, Context& context, const std::string& word,
                   const std::string& help, const std::string& done,
                   bool (UserRepositoryManager::*operation)(const OV::UniString&,
                                                            const OV::UniString&))
{
    struct Names {
        std::string group, user;
    };
    const auto names = std::make_shared<Names>();
    auto* command = AddAdminAction(groups, context, word, help, [=](AdminSession& session) {
        const Group group = Groups().Find(session, names->group);
        const User user = Users().Find(session, names->user);
        session.Do(session.Users(), operation, group.id, user.id);
        Tell(session, ForDisplay(user.loginName) + done + ForDisplay(group.name) + ".", user);
    });
    AddText(*command, "group", "GROUP", "The name of the group", names->group);
    AddText(*command, "user", "USER", "The login name of the user", names->user);
}

void AddDuplicate(CLI::App& roles, Context& context)
{
    struct Names {
        std::string role, twin;
    };
    const auto names = std::make_shared<Names>();
    auto* command =
        AddAdminAction(roles, context, "duplicate", "Add a role that allows what another one does",
                       [names](AdminSession& session) {
                           const auto roleFamily = Roles();
                           Role role = roleFamily.Find(session, names->role);
                           session.Do(session.Users(), &UserRepositoryManager::DuplicateRole,
                                      role.id, OV::FromUtf8(names->twin), role);
                           Commands<Role>::Tell(roleFamily, session, "Added", role);
                       });
    AddText(*command, "name", "NAME", "The name of the role", names->role);
    AddText(*command, "new", "NEW", "The name of the new one", names->twin);
}

}  // namespace

void AddUserFamilies(CLI::App& app, Context& context)
{
    auto* users = Commands<User>::Add(app, context, Users(), "The accounts of the server");
    users->footer("A user who was added signs in once \"users password\" gave him one.");
    AddPassword(*users, context);
    AddPhoto(*users, context);
    auto* roles = Commands<Role>::Add(app, context, Roles(), "What members may do in a project");
    AddDuplicate(*roles, context);
    auto* groups = Commands<Group>::Add(app, context, Groups(), "Users who may do the same");
    AddMembership(*groups, context, "join", "Put a user into a group", " is in ",
                  &UserRepositoryManager::AddToGroup);
    AddMembership(*groups, context, "leave", "Take a user out of a group", " is not in ",
                  &UserRepositoryManager::RemoveFromGroup);
    Commands<Permission>::Add(app, context, Permissions(), "What roles may allow");
    Commands<PermissionSet>::Add(app, context, PermissionSets(), "Permissions that roles share");
    Commands<CustomPropertyDefinition>::Add(app, context, CustomProperties(),
                                            "Fields that users have beside the usual ones");
}
