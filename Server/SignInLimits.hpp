#pragma once

#include <chrono>
#include <string>
#include <unordered_map>

namespace Nexar {

/// Makes who guesses passwords wait: from the fifth refused sign-in in a row on, each one doubles
/// the time until the same address may try the same name again, up to a minute.
class SignInLimits {
public:
    using Clock = std::chrono::steady_clock;

    /// How long this pair has still to wait; zero when it may try.
    [[nodiscard]] std::chrono::seconds MustWait(const std::string& login,
                                                const std::string& address,
                                                Clock::time_point now = Clock::now());
    void Told(const std::string& login, const std::string& address, bool isRight,
              Clock::time_point now = Clock::now());

private:
    struct Refused {
        int times = 0;
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

}  // namespace Nexar
