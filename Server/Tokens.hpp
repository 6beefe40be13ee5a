#pragma once

#include "UserStore.hpp"

#include <exception>
#include <functional>
#include <optional>
#include <string>

namespace Nexar {

/// Who is signed in: in memory (TokenTable), or, where several processes share a store, there
/// (TokenStore). A token is valid for twelve hours after its last use, and for a day in all. A user
/// has a bounded number of them, so that nobody's tokens push out another's. On the server's
/// thread, but for what says otherwise.
class Tokens {
public:
    struct Login {
        std::string userId;
        std::string userLogin;
        bool isBuiltIn = false;  ///< the presence service's read-only account
    };

    virtual ~Tokens() = default;
    Tokens(const Tokens&) = delete;
    Tokens& operator=(const Tokens&) = delete;

    /// A new token; `address` is where he signs in from.
    [[nodiscard]] virtual std::string Add(const Login& login, const std::string& address) = 0;
    /// Whether Add is not enough: Keep must follow, before the token is given away.
    [[nodiscard]] virtual bool AreInStore() const = 0;
    /// On a thread that writes the store, and holds the user.
    virtual void Keep(const std::string& token, const Login& login, const std::string& address) = 0;
    /// Who came with a token, when it is one of this server; whether it is still worth something,
    /// FindAccount tells.
    [[nodiscard]] virtual std::optional<Login> Find(const std::string& token) = 0;
    /// On a thread that reads the store: the account of who came with a token; nothing when it is
    /// gone, or the token has ended.
    [[nodiscard]] virtual std::optional<UserStore::Account>
    FindAccount(const Login& login, const std::string& token) = 0;
    /// Ends one, and tells when that is so.
    using Then = std::function<void(std::exception_ptr)>;
    virtual void Remove(const std::string& token, Then then) = 0;
    /// Every token of the user, but for one. On a thread that writes the store.
    virtual void RemoveUser(const std::string& userId, const std::string& keptToken) = 0;

    /// Whose limits the login counts for.
    [[nodiscard]] static std::string OwnerOf(const Login& login, const std::string& address)
    {
        return login.userId.empty() ? "@" + address : login.userId;
    }

protected:
    Tokens() = default;
    static constexpr std::int64_t IdleSeconds = 12 * 60 * 60;
    /// A token that was stolen is not for ever; a client that still has the password gets another.
    static constexpr std::int64_t LifeSeconds = 24 * 60 * 60;
    static constexpr std::size_t RandomBytes = 32;
};

}  // namespace Nexar
