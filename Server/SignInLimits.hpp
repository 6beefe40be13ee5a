#pragma once

#include "Store/Database.hpp"

#include <chrono>
#include <string>
#include <unordered_map>

namespace Nexar {

/// Makes who guesses passwords wait: from the fifth refused sign-in in a row on, each one doubles
/// the time until the same address may try the same name again, up to a minute.
class SignInLimits {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::minutes Memory{15};
    /// How long to wait after so many refused ones in a row.
    [[nodiscard]] static std::chrono::seconds PauseAfter(std::int64_t times);

    /// How long this pair has still to wait; zero when it may try.
    [[nodiscard]] std::chrono::seconds MustWait(const std::string& login,
                                                const std::string& address,
                                                Clock::time_point now = Clock::now());
    void Told(const std::string& login, const std::string& address, bool isRight,
              Clock::time_point now = Clock::now());

private:
    struct Refused {
        std::int64_t times = 0;
        Clock::time_point until;
        Clock::time_point forgotten;
    };
    [[nodiscard]] static std::string KeyOf(const std::string& login, const std::string& address)
    {
        return login + '\0' + address;
    }
    void MakeRoom(Clock::time_point now);

    std::unordered_map<std::string, Refused> refused_;
};

/// The same, counted over all processes on a store. On threads of the store.
class SignInLimitStore {
public:
    explicit SignInLimitStore(Database& database) : database_(database) {}

    [[nodiscard]] std::chrono::seconds MustWait(const std::string& login,
                                                const std::string& address);
    /// Of a thread that writes.
    void Told(const std::string& login, const std::string& address, bool isRight);
    /// Forgets what is too old. Of a thread that writes.
    void CleanUp();

private:
    Database& database_;
};

}  // namespace Nexar
