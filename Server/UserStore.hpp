#pragma once

#include "Database.hpp"

#include <optional>
#include <string>
#include <vector>

namespace Nexar {

struct User {
    std::string id;
    std::string login;
    std::string fullName;
    std::string passwordHash;
    bool enabled = true;
    std::int64_t color = 0;
};

class UserStore {
public:
    explicit UserStore(Database& database) : database_(database) {}

    [[nodiscard]] std::optional<User> FindByLogin(const std::string& login);
    /// By login name.
    [[nodiscard]] std::vector<User> List();
    /// Nothing when there is no such user.
    [[nodiscard]] std::optional<bool> IsEnabled(const std::string& userId);
    /// Whether a login name is taken, in any ASCII letter case.
    [[nodiscard]] bool LoginExists(const std::string& login);
    void Add(const User& user);
    [[nodiscard]] bool IsEmpty();

private:
    Database& database_;
};

}  // namespace Nexar
