#include "UserManagement.hpp"

#include "Base64Field.hpp"

#include "SyncraProtocol/Detail/Json.hpp"

#include <nlohmann/json.hpp>

namespace Nexar {

using namespace Syncra::Protocol;
using nlohmann::json;

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

json RecordOf(const User& user)
{
    return {{"id", user.id},
            {"loginName", TextToJson(OV::FromUtf8(user.login))},
            {"fullName", TextToJson(OV::FromUtf8(user.fullName))},
            {"enabled", user.enabled},
            {"color", user.color}};
}

}  // namespace

void UserManagement::AddRoutes(Router& router)
{
    router.Add("GET", "/root/syncrav2/users", [this](const Call& call) { return List(call); });
    router.Add("GET", "/root/syncrav2/users/{}/groups",
               [this](const Call& call) { return Groups(call); });
    AddPhotoRoutes(router);
}

void UserManagement::AddPhotoRoutes(Router& router)
{
    router.Add("GET", "/root/syncrav2/users/{}/photo",
               [this](const Call& call) { return ToJson(photos_.Get(FindUser(call).id)); });
    router.Add("PUT", "/root/syncrav2/users/{}/photo", [this](const Call& call) {
        SetPhoto(call);
        return json::object();
    });
}

User UserManagement::FindUser(const Call& call)
{
    auto user = users_.FindByLogin(call.parameters[0]);
    if (!user)
        throw Refusal(ErrorCode::NotFound, "There is no such user; he may have been deleted.");
    return *std::move(user);
}

json UserManagement::List(const Call& call)
{
    rights_.RequireAnyManager(call);
    json users = json::array();
    for (const auto& user : users_.List())
        users.push_back(RecordOf(user));
    return {{"users", std::move(users)}};
}

json UserManagement::Groups(const Call& call)
{
    const auto user = FindUser(call);
    if (user.id != call.user.userId)
        rights_.RequireAnyManager(call);
    return {{"groups", groups_.GroupsOf(user.id)}};
}

void UserManagement::SetPhoto(const Call& call)
{
    const auto user = FindUser(call);
    if (user.id != call.user.userId && !rights_.IsAdministrator(call))
        throw Refusal(ErrorCode::AccessDenied,
                      "Only the user himself and administrators change a photo.");
    const auto body = call.Body();
    const Photo photo{ReadText(body, "type"), ReadBase64(body, "data", Photo::MaximumSize)};
    if (!IsPictureOf(photo))
        throw Refusal(ErrorCode::BadRequest,
                      "The data is no picture of its type: \"image/png\" or \"image/jpeg\".");
    photos_.Set(user.id, photo);
}

}  // namespace Nexar
