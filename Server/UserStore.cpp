#include "UserStore.hpp"

namespace Nexar {

namespace {

User ReadUser(const Statement& row)
{
    return {row.Text(0), row.Text(1), row.Text(2), row.Text(3), row.Number(4) != 0, row.Number(5)};
}

}  // namespace

std::optional<User> UserStore::FindByLogin(const std::string& login)
{
    auto query = database_.Prepare(
        "SELECT id, login, full_name, password_hash, enabled, color FROM users WHERE login = ?1");
    if (!query.Bind(1, login).Step())
        return std::nullopt;
    return ReadUser(query);
}

std::vector<User> UserStore::List()
{
    auto query = database_.Prepare("SELECT id, login, full_name, password_hash, enabled, color "
                                   "FROM users ORDER BY login");
    std::vector<User> users;
    while (query.Step())
        users.push_back(ReadUser(query));
    return users;
}

std::optional<bool> UserStore::IsEnabled(const std::string& userId)
{
    auto query = database_.Prepare("SELECT enabled FROM users WHERE id = ?1");
    if (!query.Bind(1, userId).Step())
        return std::nullopt;
    return query.Number(0) != 0;
}

bool UserStore::LoginExists(const std::string& login)
{
    return database_.Prepare("SELECT 1 FROM users WHERE login = ?1 COLLATE NOCASE")
        .Bind(1, login)
        .Step();
}

void UserStore::Add(const User& user)
{
    database_
        .Prepare("INSERT INTO users (id, login, full_name, password_hash, enabled, color) "
                 "VALUES (?1, ?2, ?3, ?4, ?5, ?6)")
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
    return !database_.Prepare("SELECT 1 FROM users LIMIT 1").Step();
}

}  // namespace Nexar
