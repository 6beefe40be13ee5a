#pragma once

#include "Limits.hpp"

#include <chrono>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>

namespace Nexar {

/// Who is signed in. A token is valid for twelve hours after its last use, for a day in all, and
/// for one server's life. Nobody's tokens push out another's: a user has a bounded number, and so
/// has each address that uses the built-in account, whose password everybody knows.
class TokenTable {
public:
    struct Login {
        std::string userId;
        std::string userLogin;
        bool isBuiltIn = false;  ///< the presence service's read-only account
    };

    explicit TokenTable(const Limits& limits) : limits_(limits) {}

    /// `address` is where he signs in from.
    [[nodiscard]] std::string Add(Login login, const std::string& address);
    [[nodiscard]] std::optional<Login> Find(const std::string& token);
    void Remove(const std::string& token);
    /// Every token of the user, but for one.
    void RemoveUser(const std::string& userId, const std::string& keptToken = {});

    /// Whose limits the login counts for.
    [[nodiscard]] static std::string OwnerOf(const Login& login, const std::string& address)
    {
        return login.userId.empty() ? "@" + address : login.userId;
    }

private:
    using Clock = std::chrono::steady_clock;
    using Order = std::list<std::string>;  ///< tokens, the one that was unused longest first
    struct Entry {
        Login login;
        std::string owner;
        Clock::time_point begin;
        Clock::time_point lastUse;
        Order::iterator place;
    };
    using Entries = std::unordered_map<std::string, Entry>;
    [[nodiscard]] static bool HasEnded(const Entry& entry);
    void Erase(Entries::iterator entry);
    void MakeRoom(const Login& login, const std::string& owner);

    const Limits& limits_;
    Entries entries_;
    std::unordered_map<std::string, Order> owners_;
    std::size_t builtIn_ = 0;
};

}  // namespace Nexar
