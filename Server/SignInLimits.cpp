#include "SignInLimits.hpp"

#include <sodium.h>

#include <algorithm>
#include <array>

namespace Nexar {

namespace {

constexpr std::int64_t FreeTries = 5;
constexpr std::int64_t MostDoublings = 6;  // 64 s
constexpr std::size_t MaximumPairs = 10'000;

/// Any name may be tried, of any length.
std::string PairOf(const std::string& login, const std::string& address)
{
    const std::string text = login + '\0' + address;
    std::array<unsigned char, 32> digest{};
    crypto_generichash(digest.data(), digest.size(),
                       reinterpret_cast<const unsigned char*>(text.data()), text.size(), nullptr,
                       0);
    std::array<char, 65> hex{};
    return sodium_bin2hex(hex.data(), hex.size(), digest.data(), digest.size());
}

}  // namespace

std::chrono::seconds SignInLimits::PauseAfter(std::int64_t times)
{
    return std::chrono::seconds(
        times < FreeTries ? 0 : std::int64_t{1} << std::min(times - FreeTries, MostDoublings));
}

std::chrono::seconds SignInLimits::MustWait(const std::string& login, const std::string& address,
                                            Clock::time_point now)
{
    const auto found = refused_.find(KeyOf(login, address));
    if (found == refused_.end() || found->second.until <= now)
        return std::chrono::seconds(0);
    return std::chrono::ceil<std::chrono::seconds>(found->second.until - now);
}

void SignInLimits::Told(const std::string& login, const std::string& address, bool isRight,
                        Clock::time_point now)
{
    const auto key = KeyOf(login, address);
    if (isRight) {
        refused_.erase(key);
        return;
    }
    if (refused_.size() >= MaximumPairs && !refused_.contains(key))
        MakeRoom(now);
    Refused& pair = refused_[key];
    pair.times = pair.forgotten < now ? 1 : pair.times + 1;
    pair.forgotten = now + Memory;
    pair.until = now + PauseAfter(pair.times);
}

/// A flood of names must not make a guesser forgotten: those with the fewest tries go first.
void SignInLimits::MakeRoom(Clock::time_point now)
{
    if (std::erase_if(refused_, [&](const auto& each) { return each.second.forgotten < now; }) > 0)
        return;
    if (std::erase_if(refused_, [](const auto& each) { return each.second.times < FreeTries; }) ==
        0)
        refused_.clear();
}

std::chrono::seconds SignInLimitStore::MustWait(const std::string& login,
                                                const std::string& address)
{
    auto query = database_.Prepare("SELECT free_at - unixepoch() FROM refused_sign_ins "
                                   "WHERE pair = $1 AND free_at > unixepoch()");
    return std::chrono::seconds(query.Bind(1, PairOf(login, address)).Step() ? query.Number(0) : 0);
}

void SignInLimitStore::Told(const std::string& login, const std::string& address, bool isRight)
{
    const auto pair = PairOf(login, address);
    if (isRight) {
        database_.Prepare("DELETE FROM refused_sign_ins WHERE pair = $1").Bind(1, pair).Run();
        return;
    }
    std::int64_t times = 0;
    {
        auto refused = database_.Prepare(
            "INSERT INTO refused_sign_ins AS r (pair, times, free_at, forgotten_at) "
            "VALUES ($1, 1, 0, unixepoch() + $2) ON CONFLICT (pair) DO UPDATE SET "
            "times = CASE WHEN r.forgotten_at < unixepoch() THEN 1 ELSE r.times + 1 END, "
            "forgotten_at = excluded.forgotten_at RETURNING times");
        if (refused.Bind(1, pair)
                .Bind(2, std::chrono::seconds(SignInLimits::Memory).count())
                .Step())
            times = refused.Number(0);
        refused.Run();
    }
    database_.Prepare("UPDATE refused_sign_ins SET free_at = unixepoch() + $2 WHERE pair = $1")
        .Bind(1, pair)
        .Bind(2, SignInLimits::PauseAfter(times).count())
        .Run();
}

void SignInLimitStore::CleanUp()
{
    database_.Prepare("DELETE FROM refused_sign_ins WHERE forgotten_at < unixepoch()").Run();
}

}  // namespace Nexar
