#include "TokenTable.hpp"

#include "StoreWorkers.hpp"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace Nexar {

namespace {

constexpr std::size_t MaximumBuiltIn = 10'000;

std::string RandomToken(std::size_t size)
{
    std::vector<unsigned char> bytes(size);
    randombytes_buf(bytes.data(), bytes.size());
    std::array<char, 48> text{};
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                      sodium_base64_VARIANT_URLSAFE_NO_PADDING);
    return text.data();
}

}  // namespace

std::string TokenTable::Add(const Login& login, const std::string& address)
{
    const std::string owner = OwnerOf(login, address);
    MakeRoom(login, owner);
    builtIn_ += login.isBuiltIn ? 1 : 0;
    std::string token = RandomToken(RandomBytes);
    Order& order = owners_[owner];
    const auto now = Clock::now();
    entries_[token] = {login, owner, now, now, order.insert(order.end(), token)};
    return token;
}

std::optional<TokenTable::Login> TokenTable::Find(const std::string& token)
{
    const auto found = entries_.find(token);
    if (found == entries_.end())
        return std::nullopt;
    Entry& entry = found->second;
    if (HasEnded(entry)) {
        Erase(found);
        return std::nullopt;
    }
    entry.lastUse = Clock::now();
    Order& order = owners_[entry.owner];
    order.splice(order.end(), order, entry.place);
    return entry.login;
}

void TokenTable::Remove(const std::string& token, Then then)
{
    EraseToken(token);
    then(nullptr);
}

void TokenTable::EraseToken(const std::string& token)
{
    if (const auto found = entries_.find(token); found != entries_.end())
        Erase(found);
}

void TokenTable::RemoveUser(const std::string& userId, const std::string& keptToken)
{
    StoreWorkers::AfterCommit([this, userId, keptToken] {
        const auto owner = owners_.find(userId);
        if (owner == owners_.end())
            return;
        for (const std::string& token : Order(owner->second))
            if (token != keptToken)
                EraseToken(token);
    });
}

bool TokenTable::HasEnded(const Entry& entry)
{
    const auto now = Clock::now();
    return now - entry.lastUse > std::chrono::seconds(IdleSeconds) ||
           now - entry.begin > std::chrono::seconds(LifeSeconds);
}

void TokenTable::Erase(Entries::iterator entry)
{
    const auto owner = owners_.find(entry->second.owner);
    owner->second.erase(entry->second.place);
    if (owner->second.empty())
        owners_.erase(owner);
    builtIn_ -= entry->second.login.isBuiltIn ? 1 : 0;
    entries_.erase(entry);
}

/// Whoever has the most loses the token that was unused longest: himself, or, when all addresses
/// together have too many of the built-in account's, the greediest of them.
void TokenTable::MakeRoom(const Login& login, const std::string& owner)
{
    const auto own = owners_.find(owner);
    const std::size_t most = login.isBuiltIn ? limits_.tokensOfAddress : limits_.tokensOfUser;
    if (own != owners_.end() && own->second.size() >= most) {
        EraseToken(std::string(own->second.front()));
    } else if (login.isBuiltIn && builtIn_ >= MaximumBuiltIn) {
        const auto greediest =
            std::max_element(owners_.begin(), owners_.end(), [](const auto& a, const auto& b) {
                const auto countOf = [](const auto& each) {
                    return each.first.starts_with('@') ? each.second.size() : 0;
                };
                return countOf(a) < countOf(b);
            });
        EraseToken(std::string(greediest->second.front()));
    }
}

}  // namespace Nexar
