#include "SignInLimits.hpp"

#include <algorithm>

namespace Nexar {

namespace {

constexpr int FreeTries = 5;
constexpr int MostDoublings = 6;  // 64 s
constexpr std::chrono::minutes Memory{15};
constexpr std::size_t MaximumPairs = 10'000;

}  // namespace

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
    if (pair.times >= FreeTries)
        pair.until =
            now + std::chrono::seconds(1 << std::min(pair.times - FreeTries, MostDoublings));
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

}  // namespace Nexar
