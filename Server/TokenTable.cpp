#include "TokenTable.hpp"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Nexar {

namespace {

constexpr std::chrono::hours Life{12};
constexpr std::size_t MaximumTokens = 100'000;

std::string RandomToken()
{
    std::array<unsigned char, 32> bytes{};
    randombytes_buf(bytes.data(), bytes.size());
    std::array<char, 48> text{};
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                      sodium_base64_VARIANT_URLSAFE_NO_PADDING);
    return text.data();
}

}  // namespace

std::string TokenTable::Add(Login login)
{
    if (entries_.size() >= MaximumTokens)
        DropOld();
    std::string token = RandomToken();
    entries_[token] = {std::move(login), Clock::now()};
    return token;
}

std::optional<TokenTable::Login> TokenTable::Find(const std::string& token)
{
    const auto found = entries_.find(token);
    if (found == entries_.end())
        return std::nullopt;
    const auto now = Clock::now();
    if (now - found->second.lastUse > Life) {
        entries_.erase(found);
        return std::nullopt;
    }
    found->second.lastUse = now;
    return found->second.login;
}

void TokenTable::Remove(const std::string& token)
{
    entries_.erase(token);
}

void TokenTable::RemoveUser(const std::string& userId, const std::string& keptToken)
{
    std::erase_if(entries_, [&](const auto& entry) {
        return entry.second.login.userId == userId && entry.first != keptToken;
    });
}

/// The expired ones; when none is, the one that was unused longest.
void TokenTable::DropOld()
{
    const auto now = Clock::now();
    if (std::erase_if(entries_,
                      [&](const auto& entry) { return now - entry.second.lastUse > Life; }) > 0)
        return;
    entries_.erase(
        std::min_element(entries_.begin(), entries_.end(), [](const auto& a, const auto& b) {
            return a.second.lastUse < b.second.lastUse;
        }));
}

}  // namespace Nexar
