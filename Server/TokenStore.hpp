#pragma once

#include "Limits.hpp"
#include "StoreWorkers.hpp"
#include "Tokens.hpp"

#include <mutex>
#include <set>

namespace Nexar {

/// Tokens of a store that several processes share: signed in with one, a user goes on with another.
/// A token carries whom it is of, and a mark made with the store's key, so that each process lets
/// requests in, and bodies, without asking; the store has a row for it, which every request finds
/// with its account, and which a sign-out or a new password takes away. It keeps the token's digest
/// alone.
class TokenStore final : public Tokens {
public:
    TokenStore(Database& database, StoreWorkers& workers, const Limits& limits);

    [[nodiscard]] std::string Add(const Login& login, const std::string& address) override;
    [[nodiscard]] bool AreInStore() const override { return true; }
    void Keep(const std::string& token, const Login& login, const std::string& address) override;
    [[nodiscard]] std::optional<Login> Find(const std::string& token) override;
    [[nodiscard]] std::optional<UserStore::Account> FindAccount(const Login& login,
                                                                const std::string& token) override;
    void Remove(const std::string& token, Then then) override;
    void RemoveUser(const std::string& userId, const std::string& keptToken) override;

    /// From time to time, on a thread that writes: notes which tokens were used, and drops those
    /// that have ended.
    void CleanUp();

private:
    [[nodiscard]] std::string MarkOf(std::string_view content) const;

    Database& database_;
    StoreWorkers& workers_;
    const Limits& limits_;
    std::string key_;
    std::mutex lock_;
    std::set<std::string> used_;  ///< digests of those whose row does not tell so
};

}  // namespace Nexar
