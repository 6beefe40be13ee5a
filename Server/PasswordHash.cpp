#include "PasswordHash.hpp"

#include <sodium.h>

#include <cerrno>
#include <new>
#include <stdexcept>

namespace Nexar {

namespace {

constexpr std::size_t MaximumRemembered = 10'000;

}  // namespace

PasswordHash::PasswordHash(Cost cost)
    : operations_(cost == Cost::Minimum ? crypto_pwhash_OPSLIMIT_MIN
                                        : crypto_pwhash_OPSLIMIT_INTERACTIVE),
      memory_(cost == Cost::Minimum ? crypto_pwhash_MEMLIMIT_MIN
                                    : crypto_pwhash_MEMLIMIT_INTERACTIVE)
{
    if (sodium_init() < 0)
        throw std::runtime_error("libsodium cannot be started.");
    randombytes_buf(key_.data(), key_.size());
    std::string secret(32, '\0');
    randombytes_buf(secret.data(), secret.size());
    nobody_ = Make(secret);
}

std::string PasswordHash::Make(const std::string& password) const
{
    char hash[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str(hash, password.data(), password.size(), operations_, memory_) != 0)
        throw std::bad_alloc();
    return hash;
}

bool PasswordHash::Check(const std::string& hash, const std::string& password)
{
    if (IsRemembered(hash, password))
        return true;
    const std::string& known = hash.empty() ? nobody_ : hash;
    errno = 0;
    const bool isRight =
        crypto_pwhash_str_verify(known.c_str(), password.data(), password.size()) == 0;
    // A wrong password is told by EINVAL alone; without memory there is no result.
    if (!isRight && errno != EINVAL)
        throw std::bad_alloc();
    if (!isRight || hash.empty())
        return false;
    const std::lock_guard guard(lock_);
    if (remembered_.size() >= MaximumRemembered)
        remembered_.clear();
    remembered_[hash] = DigestOf(hash, password);
    return true;
}

bool PasswordHash::IsOutdated(const std::string& hash) const
{
    return crypto_pwhash_str_needs_rehash(hash.c_str(), operations_, memory_) != 0;
}

bool PasswordHash::IsRemembered(const std::string& hash, const std::string& password)
{
    const std::lock_guard guard(lock_);
    const auto found = remembered_.find(hash);
    if (found == remembered_.end())
        return false;
    const Digest digest = DigestOf(hash, password);
    return sodium_memcmp(found->second.data(), digest.data(), digest.size()) == 0;
}

PasswordHash::Digest PasswordHash::DigestOf(const std::string& hash,
                                            const std::string& password) const
{
    // The hash holds the salt, and a changed password changes it: what is remembered then fits no
    // more.
    Digest digest{};
    const std::string input = hash + '\0' + password;
    crypto_generichash(digest.data(), digest.size(),
                       reinterpret_cast<const unsigned char*>(input.data()), input.size(),
                       key_.data(), key_.size());
    return digest;
}

}  // namespace Nexar
