#pragma once

#include "Store/Database.hpp"

#include <optional>
#include <string>
#include <vector>

namespace Nexar {

struct StoredUser {
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

    [[nodiscard]] std::optional<StoredUser> FindByLogin(const std::string& login);
    /// In any ASCII letter case; empty when there is none.
    [[nodiscard]] std::string FindIdByLogin(const std::string& login);
    /// Of the user with that id or that very login name. Throws Refusal.
    [[nodiscard]] std::string RequireId(const std::string& idOrLogin);
    /// What a signed-in user needs at each request.
    struct Account {
        std::string login;
        bool enabled = true;
    };
    /// Nothing when there is no such user.
    [[nodiscard]] std::optional<Account> FindAccount(const std::string& userId);
    /// Keeps others from changing him until the transaction ends.
    void Hold(const std::string& userId);
    /// Whether both are members of one project.
    [[nodiscard]] bool WorkTogether(const std::string& userId, const std::string& otherId);
    /// Whether a login name is taken, in any ASCII letter case.
    [[nodiscard]] bool LoginExists(const std::string& login);
    void Add(const StoredUser& user);
    /// With an empty one he cannot sign in.
    void SetPasswordHash(const std::string& userId, const std::string& hash);
    [[nodiscard]] bool IsEmpty();

private:
    Database& database_;
};

}  // namespace Nexar
