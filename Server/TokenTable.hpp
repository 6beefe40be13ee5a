#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <unordered_map>

namespace Nexar {

/// Who is signed in. A token is valid for twelve hours after its last use, and for one server's
/// life.
class TokenTable {
public:
    struct Login {
        std::string userId;
        std::string userLogin;
        bool isBuiltIn = false;  ///< the presence service's read-only account
    };

    [[nodiscard]] std::string Add(Login login);
    [[nodiscard]] std::optional<Login> Find(const std::string& token);
    void Remove(const std::string& token);
    /// Every token of the user, but for one.
    void RemoveUser(const std::string& userId, const std::string& keptToken = {});

private:
    using Clock = std::chrono::steady_clock;
    struct Entry {
        Login login;
        Clock::time_point lastUse;
    };
    void DropOld();

    std::unordered_map<std::string, Entry> entries_;
};

}  // namespace Nexar
