#include "Management/UserManagement.hpp"

#include "Management/ConfigurationStore.hpp"

namespace Nexar {

using namespace Syncra::Protocol;

namespace {

constexpr std::string_view PngSignature = "\x89PNG\r\n\x1a\n";
constexpr std::string_view JpegSignature = "\xff\xd8\xff";

/// Members' clients decode the picture by its type: it must be what it says.
bool IsPictureOf(const Photo& photo)
{
    if (photo.type == u"image/png")
        return photo.data.starts_with(PngSignature);
    if (photo.type == u"image/jpeg")
        return photo.data.starts_with(JpegSignature);
    return photo.type.empty() && photo.data.empty();
}

}  // namespace

void UserManagement::AddRoutes(Router& router)
{
    RecordRoutes::AddRoutes(router);
    router.Add("GET", Path("/{}/groups"), [this](const Call& call) {
        const auto id = SelfOr(call, context_.rights.IsAnyManager(call));
        return Records::GroupNames{groups_.GroupsOf(id)};
    });
    router.AddAsync("PUT", Path("/{}/password"),
                    [this](const Call& call, const Reply& reply) { SetPassword(call, reply); });
    AddPhotoRoutes(router);
}

void UserManagement::AddInsertRoute(Router& router)
{
    router.AddAsync("POST", Path(), [this](const Call& call, const Reply& reply) {
        InsertWithPassword(call, reply);
    });
}

void UserManagement::AddPhotoRoutes(Router& router)
{
    router.Add("GET", Path("/{}/photo"),
               [this](const Call& call) { return photos_.Get(IdOf(call)); });
    router.Add(
        "PUT", Path("/{}/photo"), [this](const Call& call) { SetPhoto(call); }, Router::LargeBody);
}

std::vector<Records::User> UserManagement::Chosen(const Call& call)
{
    if (!call.request.query.contains("loginName"))
        return RecordRoutes::Chosen(call);
    const auto user = Store().Find(users_.FindIdByLogin(call.QueryText("loginName")));
    return user ? std::vector{*user} : std::vector<Records::User>();
}

UserManagement::Chooser UserManagement::Readable(const Call& call)
{
    return [all = context_.rights.IsAnyManager(call), self = OV::FromUtf8(call.user.userId)](
               const Records::User& user) { return all || user.id == self; };
}

std::string UserManagement::IdOf(const Call& call)
{
    return users_.RequireId(call.parameters[0]);
}

void UserManagement::CheckUpdate(const Call& call, const Records::User&, const Records::User& after)
{
    if (!after.enabled && OV::ToUtf8(after.id) == call.user.userId)
        Rules::Break("Nobody switches his own account off. Ask another administrator.");
}

void UserManagement::CheckDelete(const Call& call, const Records::User& user)
{
    if (OV::ToUtf8(user.id) == call.user.userId)
        Rules::Break("Nobody deletes his own account. Ask another administrator.");
}

void UserManagement::Updated(const Records::User& before, const Records::User& after,
                             const std::vector<std::string>& projects)
{
    // Members see this much of each other, and fetch every photo anew when they are told.
    if (before.loginName != after.loginName || before.fullName != after.fullName ||
        before.color != after.color)
        RecordRoutes::Updated(before, after, projects);
}

void UserManagement::Deleted(const Records::User& user, const std::vector<std::string>& projects)
{
    tokens_.RemoveUser(OV::ToUtf8(user.id));
    for (const auto& project : projects) {
        // Reaches the request that he himself holds, too: his client asks again and is refused.
        context_.signals.Raise(project, SignalId::MembersChanged);
        context_.signals.Raise(project, SignalId::SessionsChanged);
    }
}

std::string UserManagement::SelfOr(const Call& call, bool orElse)
{
    auto id = IdOf(call);
    if (id != call.user.userId && !orElse)
        throw Refusal(ErrorCode::AccessDenied, "You may do this for yourself alone.");
    return id;
}

void UserManagement::SetPhoto(const Call& call)
{
    const auto id = SelfOr(call, context_.rights.IsAdministrator(call));
    const auto photo = call.Read<Photo>();
    if (!IsPictureOf(photo))
        throw Refusal(ErrorCode::BadRequest,
                      "The data is no picture of its type: \"image/png\" or \"image/jpeg\".");
    photos_.Set(id, photo);
    for (const auto& project : ProjectsOf(id))
        context_.signals.Raise(project, SignalId::MembersChanged);
}

void UserManagement::InsertWithPassword(const Call& call, const Reply& reply)
{
    // Before the hash, which costs far more than the rest.
    RequireWriter(call);
    const auto added = call.Read<Records::NewUser>();
    const auto insert = [this, call, added = added.user](const std::string& hash) {
        RequireWriter(call);
        return Insert(added, [&](const Records::User& user) {
            users_.SetPasswordHash(OV::ToUtf8(user.id), hash);
        });
    };
    if (!added.password) {
        reply(JsonResponse(insert("")));
        return;
    }
    passwords_.Make(Checked(*added.password), reply, [insert, reply](const std::string& hash) {
        Router::Answer(reply, [&] { return insert(hash); });
    });
}

void UserManagement::SetPassword(const Call& call, const Reply& reply)
{
    const auto id = SelfOr(call, context_.rights.IsAdministrator(call));
    passwords_.Make(Checked(call.Read<Records::NewPassword>().value), reply,
                    [this, call, id, reply](const std::string& hash) {
                        Router::Answer(reply, [&] {
                            users_.SetPasswordHash(id, hash);
                            tokens_.RemoveUser(id, call.request.token);
                        });
                    });
}

std::string UserManagement::Checked(const OV::Secret& password)
{
    Rules::CheckPassword(context_.database, password.View());
    return OV::ToUtf8(password.View());
}

}  // namespace Nexar
