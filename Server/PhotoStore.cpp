#include "PhotoStore.hpp"

#include "OVRoot/Guid.hpp"

namespace Nexar {

using Syncra::Protocol::Photo;

Photo PhotoStore::Get(const std::string& userId)
{
    auto query = database_.Prepare("SELECT type, data FROM photos WHERE user_id = $1");
    if (!query.Bind(1, userId).Step())
        return {};
    return {OV::FromUtf8(query.Text(0)), query.Text(1)};
}

void PhotoStore::Set(const std::string& userId, const Photo& photo)
{
    database_.Prepare("UPDATE users SET photo = $2 WHERE id = $1")
        .Bind(1, userId)
        .Bind(2, photo.data.empty() ? "" : OV::ToUtf8(OV::Guid::Generate().ToText()))
        .Run();
    if (photo.data.empty()) {
        database_.Prepare("DELETE FROM photos WHERE user_id = $1").Bind(1, userId).Run();
        return;
    }
    database_
        .Prepare("INSERT INTO photos (user_id, type, data) VALUES ($1, $2, $3) "
                 "ON CONFLICT (user_id) DO UPDATE SET type = excluded.type, data = excluded.data")
        .Bind(1, userId)
        .Bind(2, OV::ToUtf8(photo.type))
        .BindBlob(3, photo.data)
        .Run();
}

}  // namespace Nexar
