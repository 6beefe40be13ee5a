#include "Management/UserManagement.hpp"

#include "Management/ConfigurationStore.hpp"

#include "OVRoot/SecureWipe.hpp"

#include <algorithm>

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
    router.AddAsync(
        "PUT", Path("/{}/password"),
        [this](Call& call) {
            const auto id = SelfOr(call, context_.rights.IsAdministrator(call));
            call.findings = {id, Checked(call.Read<Records::NewPassword>().value)};
            OV::SecureWipe(call.request.body);
        },
        [this, &router](Call call, const Reply& reply) {
            SetPassword(router, std::move(call), reply);
        });
    AddPhotoRoutes(router);
}

void UserManagement::AddInsertRoute(Router& router)
{
    router.AddAsync(
        "POST", Path(),
        [this](Call& call) {
            // Before the hash, which costs far more than the rest.
            RequireWriter(call);
            if (const auto added = call.Read<Records::NewUser>(); added.password)
                call.findings.push_back(Checked(*added.password));
        },
        [this, &router](Call call, const Reply& reply) {
            InsertWithPassword(router, std::move(call), reply);
        });
}

void UserManagement::AddPhotoRoutes(Router& router)
{
    router.Add("GET", Path("/{}/photo"), [this](const Call& call) {
        // Everybody sees the photos of those whom he works with.
        const auto id = users_.RequireId(call.parameters[0]);
        if (id != call.user.userId && !context_.rights.IsAnyManager(call) &&
            !users_.WorkTogether(id, call.user.userId))
            throw Refusal(ErrorCode::NotFound,
                          "There is no such user in a project of yours; he may have been deleted.");
        return photos_.Get(id);
    });
    router.Add(
        "PUT", Path("/{}/photo"), [this](const Call& call) { SetPhoto(call); },
        Router::Body::Large);
}

std::vector<Records::User> UserManagement::Chosen(const Call& call)
{
    if (!call.request.query.contains("loginName"))
        return RecordRoutes::Chosen(call);
    const auto user = Store().Find(users_.FindIdByLogin(call.QueryText("loginName")));
    return user ? std::vector{*user} : std::vector<Records::User>();
}

/// Who may not read all users has no list that needs parts.
std::optional<Records::ItemPage<Records::User>> UserManagement::Part(const Call& call)
{
    constexpr std::uint64_t most = 1000;
    const auto& query = call.request.query;
    if (!query.contains("count") || query.contains("name") || query.contains("loginName") ||
        !context_.rights.IsAnyManager(call))
        return std::nullopt;
    const auto count = std::clamp<std::uint64_t>(call.QueryNumber("count", most), 1, most);
    const auto after = query.contains("after") ? call.QueryText("after") : std::string();
    auto users = Store().Part(after, static_cast<std::int64_t>(count));
    auto cursor = users.size() == count ? users.back().id : OV::UniString();
    return Records::ItemPage<Records::User>{std::move(cursor), std::move(users)};
}

UserManagement::Chooser UserManagement::Readable(const Call& call)
{
    return [all = context_.rights.IsAnyManager(call), self = OV::FromUtf8(call.user.userId)](
               const Records::User& user) { return all || user.id == self; };
}

/// Who may not know every user learns from no path whether there is another one.
std::string UserManagement::IdOf(const Call& call)
{
    const auto& named = call.parameters[0];
    const bool isSelf = named == call.user.userId || named == call.user.userLogin;
    if (!isSelf && !context_.rights.IsAnyManager(call))
        throw Refusal(ErrorCode::AccessDenied, "You may do this for yourself alone.");
    return users_.RequireId(named);
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
    if (before.enabled && !after.enabled) {
        context_.signals.Release(OV::ToUtf8(after.id));
        for (const auto& project : projects)
            context_.signals.RaiseAbout(project, SignalId::SessionsChanged, {OV::ToUtf8(after.id)});
    }
    // Members see this much of each other.
    if (before.loginName != after.loginName || before.fullName != after.fullName ||
        before.color != after.color)
        for (const auto& project : projects)
            context_.signals.RaiseAbout(project, SignalId::MembersChanged, {OV::ToUtf8(after.id)});
}

void UserManagement::Deleted(const Records::User& user, const std::vector<std::string>& projects)
{
    EndTokens(OV::ToUtf8(user.id), {});
    for (const auto& project : projects) {
        // Reaches the request that he himself holds, too: his client asks again and is refused.
        context_.signals.RaiseAbout(project, SignalId::MembersChanged, {OV::ToUtf8(user.id)});
        context_.signals.RaiseAbout(project, SignalId::SessionsChanged, {OV::ToUtf8(user.id)});
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
        context_.signals.RaiseAbout(project, SignalId::MembersChanged, {id});
}

void UserManagement::InsertWithPassword(const Router& router, Call call, const Reply& reply)
{
    const auto asked = std::make_shared<Call>(std::move(call));
    const auto insert = [this, &router, asked, reply](const std::string& hash) {
        const auto added = asked->Read<Records::NewUser>().user;
        OV::SecureWipe(asked->request.body);
        router.AnswerWriting(std::move(*asked), reply, [this, hash, added](const Call& checked) {
            RequireWriter(checked);
            return WriteJson(Insert(added, [&](const Records::User& user) {
                users_.SetPasswordHash(OV::ToUtf8(user.id), hash);
            }));
        });
    };
    if (asked->findings.empty())
        return insert("");
    const OV::SecureWipeGuard wipe(asked->findings.front());
    passwords_.Make(asked->findings.front(), reply, insert);
}

void UserManagement::SetPassword(const Router& router, Call call, const Reply& reply)
{
    const OV::SecureWipeGuard wipe(call.findings[1]);
    passwords_.Make(call.findings[1], reply,
                    [this, &router, id = call.findings[0], request = call.request, user = call.user,
                     reply](const std::string& hash) {
                        router.AnswerWriting({request, {}, user}, reply,
                                             [this, id, hash](const Call& checked) {
                                                 users_.SetPasswordHash(id, hash);
                                                 EndTokens(id, checked.request.token);
                                                 return std::string("{}");
                                             });
                    });
}

void UserManagement::EndTokens(const std::string& userId, const std::string& keptToken)
{
    tokens_.RemoveUser(userId, keptToken);
}

std::string UserManagement::Checked(const OV::Secret& password)
{
    Rules::CheckPassword(context_.database, password.View());
    return OV::ToUtf8(password.View());
}

}  // namespace Nexar
