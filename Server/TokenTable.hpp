#pragma once

#include "Limits.hpp"
#include "Tokens.hpp"

#include <chrono>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>

namespace Nexar {

/// Tokens in memory: they end with the process. Each address that uses the built-in account, whose
/// password everybody knows, has a bounded number, too.
class TokenTable final : public Tokens {
public:
    TokenTable(const Limits& limits, UserStore& users) : limits_(limits), users_(users) {}

    [[nodiscard]] std::string Add(const Login& login, const std::string& address) override;
    [[nodiscard]] bool AreInStore() const override { return false; }
    void Keep(const std::string&, const Login&, const std::string&) override {}
    [[nodiscard]] std::optional<Login> Find(const std::string& token) override;
    [[nodiscard]] std::optional<UserStore::Account> FindAccount(const Login& login,
                                                                const std::string&) override
    {
        return login.isBuiltIn ? UserStore::Account{login.userLogin, true}
                               : users_.FindAccount(login.userId);
    }
    void Remove(const std::string& token, Then then) override;
    void RemoveUser(const std::string& userId, const std::string& keptToken) override;

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
    void EraseToken(const std::string& token);
    void MakeRoom(const Login& login, const std::string& owner);

    const Limits& limits_;
    UserStore& users_;
    Entries entries_;
    std::unordered_map<std::string, Order> owners_;
    std::size_t builtIn_ = 0;
};

}  // namespace Nexar
