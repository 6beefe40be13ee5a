#include "TokenStore.hpp"

#include "OVRoot/Clock.hpp"

#include <sodium.h>

#include <charconv>
#include <utility>
#include <vector>

namespace Nexar {

namespace {

constexpr std::size_t MarkBytes = 32;
constexpr std::size_t LongestToken = 8192;
/// The row of a token tells its last use to so many seconds.
constexpr std::int64_t UseSeconds = 10 * 60;
constexpr int Base64 = sodium_base64_VARIANT_URLSAFE_NO_PADDING;

unsigned char* BytesOf(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

const unsigned char* BytesOf(std::string_view text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string RandomText(std::size_t size)
{
    std::string bytes(size, '\0');
    randombytes_buf(bytes.data(), bytes.size());
    return bytes;
}

std::string ToBase64(std::string_view bytes)
{
    std::string text(sodium_base64_encoded_len(bytes.size(), Base64), '\0');
    sodium_bin2base64(text.data(), text.size(), BytesOf(bytes), bytes.size(), Base64);
    text.pop_back();  // the zero at the end
    return text;
}

/// Empty when it is damaged.
std::string FromBase64(std::string_view text)
{
    std::string bytes(text.size(), '\0');
    std::size_t size = 0;
    const bool isRight = sodium_base642bin(BytesOf(bytes), bytes.size(), text.data(), text.size(),
                                           nullptr, &size, nullptr, Base64) == 0;
    bytes.resize(isRight ? size : 0);
    return bytes;
}

std::string DigestOf(std::string_view token)
{
    std::string digest(MarkBytes, '\0');
    crypto_generichash(BytesOf(digest), digest.size(), BytesOf(token), token.size(), nullptr, 0);
    return ToBase64(digest);
}

/// The part up to the next zero, which is taken off.
std::string_view TakePart(std::string_view& text)
{
    const auto end = std::min(text.find('\0'), text.size());
    const auto part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

}  // namespace

TokenStore::TokenStore(Database& database, StoreWorkers& workers, const Limits& limits)
    : database_(database), workers_(workers), limits_(limits)
{
    // Whoever comes first makes the key.
    database_.Prepare("UPDATE configuration SET token_key = $1 WHERE token_key = ''")
        .Bind(1, ToBase64(RandomText(MarkBytes)))
        .Run();
    auto query = database_.Prepare("SELECT token_key FROM configuration /* all */");
    if (query.Step())
        key_ = FromBase64(query.View(0));
    if (key_.size() != MarkBytes)
        throw std::runtime_error("The store has no key for tokens.");
}

/// When it began, whose it is, what it is of, each with a zero behind it; something random, for no
/// two are alike, and the mark.
std::string TokenStore::Add(const Login& login, const std::string&)
{
    std::string content = std::to_string(OV::Clock::Current().Now()) + '\0' + login.userId + '\0' +
                          login.userLogin + '\0' + (login.isBuiltIn ? "1" : "") + '\0' +
                          RandomText(RandomBytes);
    content += MarkOf(content);
    return ToBase64(content);
}

std::string TokenStore::MarkOf(std::string_view content) const
{
    std::string mark(MarkBytes, '\0');
    crypto_generichash(BytesOf(mark), mark.size(), BytesOf(content), content.size(), BytesOf(key_),
                       key_.size());
    return mark;
}

std::optional<Tokens::Login> TokenStore::Find(const std::string& token)
{
    const std::string bytes = token.size() <= LongestToken ? FromBase64(token) : std::string();
    if (bytes.size() <= MarkBytes)
        return std::nullopt;
    std::string_view content(bytes.data(), bytes.size() - MarkBytes);
    if (sodium_memcmp(MarkOf(content).data(), content.data() + content.size(), MarkBytes) != 0)
        return std::nullopt;
    const auto time = TakePart(content);
    std::int64_t begin = 0;
    std::from_chars(time.data(), time.data() + time.size(), begin);
    if (OV::Clock::Current().Now() - begin > LifeSeconds)
        return std::nullopt;
    Login login;
    login.userId = TakePart(content);
    login.userLogin = TakePart(content);
    login.isBuiltIn = !TakePart(content).empty();
    return login;
}

void TokenStore::Keep(const std::string& token, const Login& login, const std::string& address)
{
    const auto owner = OwnerOf(login, address);
    database_
        .Prepare("INSERT INTO tokens (digest, owner, user_id, began, last_use) "
                 "VALUES ($1, $2, nullif($3, ''), unixepoch(), unixepoch())")
        .Bind(1, DigestOf(token))
        .Bind(2, owner)
        .Bind(3, login.userId)
        .Run();
    // Those that were unused longest go.
    database_
        .Prepare("DELETE FROM tokens WHERE digest IN (SELECT digest FROM tokens "
                 "WHERE owner = $1 ORDER BY last_use DESC, number DESC OFFSET $2)")
        .Bind(1, owner)
        .Bind(2, static_cast<std::int64_t>(login.isBuiltIn ? limits_.tokensOfAddress
                                                           : limits_.tokensOfUser))
        .Run();
}

std::optional<UserStore::Account> TokenStore::FindAccount(const Login& login,
                                                          const std::string& token)
{
    auto digest = DigestOf(token);
    auto query = database_.Prepare(
        "SELECT coalesce(u.login, $2), coalesce(u.enabled, 1), unixepoch() - t.last_use "
        "FROM tokens t LEFT JOIN users u ON u.id = t.user_id WHERE t.digest = $1");
    if (!query.Bind(1, digest).Bind(2, login.userLogin).Step() || query.Number(2) > IdleSeconds)
        return std::nullopt;
    if (query.Number(2) > UseSeconds) {
        const std::lock_guard guard(lock_);
        used_.insert(std::move(digest));
    }
    return UserStore::Account{query.Text(0), query.Number(1) != 0};
}

void TokenStore::Remove(const std::string& token, Then then)
{
    const auto work = [this, digest = DigestOf(token)] {
        database_.Prepare("DELETE FROM tokens WHERE digest = $1").Bind(1, digest).Run();
    };
    try {
        workers_.Write({}, work, then);
    } catch (...) {
        then(std::current_exception());
    }
}

void TokenStore::RemoveUser(const std::string& userId, const std::string& keptToken)
{
    database_.Prepare("DELETE FROM tokens WHERE user_id = $1 AND digest <> $2")
        .Bind(1, userId)
        .Bind(2, DigestOf(keptToken))
        .Run();
}

void TokenStore::CleanUp()
{
    std::set<std::string> used;
    {
        const std::lock_guard guard(lock_);
        used.swap(used_);
    }
    auto note = database_.Prepare("UPDATE tokens SET last_use = unixepoch() WHERE digest = $1");
    for (const auto& digest : used)
        note.Bind(1, digest).RunLater();
    database_.Prepare("DELETE FROM tokens WHERE began < unixepoch() - $1")
        .Bind(1, LifeSeconds)
        .Run();
}

}  // namespace Nexar
