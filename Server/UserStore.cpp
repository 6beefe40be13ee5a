#include "UserStore.hpp"

#include "Refusal.hpp"

namespace Nexar {

namespace {

StoredUser ReadUser(const Statement& row)
{
    return {row.Text(0), row.Text(1), row.Text(2), row.Text(3), row.Number(4) != 0, row.Number(5)};
}

}  // namespace

std::optional<StoredUser> UserStore::FindByLogin(const std::string& login)
{
    auto query = database_.Prepare(
        "SELECT id, login, full_name, password_hash, enabled, color FROM users WHERE login = $1");
    if (!query.Bind(1, login).Step())
        return std::nullopt;
    return ReadUser(query);
}

std::string UserStore::FindIdByLogin(const std::string& login)
{
    auto query = database_.Prepare("SELECT id FROM users WHERE lower(login) = lower($1)");
    return query.Bind(1, login).Step() ? query.Text(0) : std::string();
}

std::string UserStore::RequireId(const std::string& idOrLogin)
{
    // No login name has the form of an id.
    auto query = database_.Prepare("SELECT id FROM users WHERE id = $1 OR login = $1");
    if (!query.Bind(1, idOrLogin).Step())
        throw Refusal(Syncra::Protocol::ErrorCode::NotFound,
                      "There is no such user; he may have been deleted.");
    return query.Text(0);
}

std::optional<UserStore::Account> UserStore::FindAccount(const std::string& userId)
{
    auto query = database_.Prepare("SELECT login, enabled FROM users WHERE id = $1");
    if (!query.Bind(1, userId).Step())
        return std::nullopt;
    return Account{query.Text(0), query.Number(1) != 0};
}

void UserStore::Hold(const std::string& userId)
{
    (void)database_.Prepare("SELECT 1 FROM users u WHERE u.id = $1 /* hold u */")
        .Bind(1, userId)
        .Step();
}

bool UserStore::WorkTogether(const std::string& userId, const std::string& otherId)
{
    return database_
        .Prepare("SELECT 1 FROM members a JOIN members b USING (project_id) "
                 "WHERE a.user_id = $1 AND b.user_id = $2")
        .Bind(1, userId)
        .Bind(2, otherId)
        .Step();
}

bool UserStore::LoginExists(const std::string& login)
{
    return !FindIdByLogin(login).empty();
}

void UserStore::SetPasswordHash(const std::string& userId, const std::string& hash)
{
    database_.Prepare("UPDATE users SET password_hash = $2 WHERE id = $1")
        .Bind(1, userId)
        .Bind(2, hash)
        .Run();
}

void UserStore::Add(const StoredUser& user)
{
    database_
        .Prepare("INSERT INTO users (id, login, full_name, password_hash, enabled, color) "
                 "VALUES ($1, $2, $3, $4, $5, $6)")
        .Bind(1, user.id)
        .Bind(2, user.login)
        .Bind(3, user.fullName)
        .Bind(4, user.passwordHash)
        .Bind(5, std::int64_t{user.enabled})
        .Bind(6, user.color)
        .Run();
}

bool UserStore::IsEmpty()
{
    return !database_.Prepare("SELECT 1 FROM users LIMIT 1 /* all */").Step();
}

}  // namespace Nexar
