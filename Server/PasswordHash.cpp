#include "PasswordHash.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/SecureWipe.hpp"

#include <sodium.h>

#include <cerrno>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace Nexar {

namespace {

constexpr std::size_t MaximumRemembered = 10'000;
constexpr const char* Right = "right";
constexpr const char* Wrong = "wrong";

/// Of "HASH\0PASSWORD" whether it is right, of "\0PASSWORD" its hash. Throws std::bad_alloc when
/// there is no memory to find out: that says nothing of the password.
std::string Answer(std::string_view request, unsigned long long operations, std::size_t memory)
{
    const auto end = request.find('\0');
    const std::string known(request.substr(0, end));
    const std::string_view password = request.substr(end + 1);
    if (known.empty()) {
        char hash[crypto_pwhash_STRBYTES];
        if (crypto_pwhash_str(hash, password.data(), password.size(), operations, memory) != 0)
            throw std::bad_alloc();
        return hash;
    }
    errno = 0;
    if (crypto_pwhash_str_verify(known.c_str(), password.data(), password.size()) == 0)
        return Right;
    // A wrong password is told by EINVAL alone.
    if (errno != EINVAL)
        throw std::bad_alloc();
    return Wrong;
}

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

std::string PasswordHash::Make(const std::string& password)
{
    return Compute('\0' + password);
}

bool PasswordHash::Check(const std::string& hash, const std::string& password)
{
    if (IsRemembered(hash, password))
        return true;
    const bool isRight = Compute((hash.empty() ? nobody_ : hash) + '\0' + password) == Right;
    if (!isRight || hash.empty())
        return false;
    const std::lock_guard guard(lock_);
    if (remembered_.size() >= MaximumRemembered)
        remembered_.clear();
    remembered_[hash] = DigestOf(hash, password);
    return true;
}

/// By a helper. A hash of the minimum cost takes no memory to speak of.
std::string PasswordHash::Compute(std::string request)
{
    const OV::SecureWipeGuard wipe(request);
    auto helper = memory_ > crypto_pwhash_MEMLIMIT_MIN ? TakeHelper() : nullptr;
    if (!helper)
        return Answer(request, operations_, memory_);
    auto answer = helper->Ask(request);
    // It had no memory, or the system took it back.
    if (!answer)
        throw std::bad_alloc();
    const std::lock_guard guard(lock_);
    idleHelpers_.push_back(std::move(helper));
    return *std::move(answer);
}

/// None when the system gives no process, as without /proc; the hash is then computed here.
std::unique_ptr<HelperProcess> PasswordHash::TakeHelper()
{
    {
        const std::lock_guard guard(lock_);
        if (!idleHelpers_.empty()) {
            auto helper = std::move(idleHelpers_.back());
            idleHelpers_.pop_back();
            return helper;
        }
    }
    try {
        return std::make_unique<HelperProcess>(ProcessArgument);
    } catch (const std::system_error& error) {
        OV::Logger::Warning("nexar-server",
                            u"Passwords are not checked by a process of their own: %",
                            {error.what()});
        return nullptr;
    }
}

void PasswordHash::ComputeForOthers()
{
    if (sodium_init() < 0)
        return;
    AnswerRequests([](std::string_view request) {
        return Answer(request, crypto_pwhash_OPSLIMIT_INTERACTIVE,
                      crypto_pwhash_MEMLIMIT_INTERACTIVE);
    });
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
