#pragma once

#include <array>
#include <mutex>
#include <string>
#include <unordered_map>

namespace Nexar {

/// Makes and checks password hashes (Argon2id). Checking costs some 90 ms by design, so it belongs
/// on a worker thread; a password that was checked is remembered as a keyed hash in memory, and the
/// next check of the same pair is quick. Safe on any thread.
class PasswordHash {
public:
    enum class Cost { Minimum, Interactive };

    explicit PasswordHash(Cost cost);

    [[nodiscard]] std::string Make(const std::string& password) const;
    /// An empty `hash` (no such user) takes as long as a wrong password and is false.
    /// Throws when there is no memory to find out: that says nothing of the password.
    [[nodiscard]] bool Check(const std::string& hash, const std::string& password);
    /// Whether the hash was made at another cost than Make has now.
    [[nodiscard]] bool IsOutdated(const std::string& hash) const;
    /// Whether Check would be true without the long computation; false when that is not known.
    [[nodiscard]] bool IsRemembered(const std::string& hash, const std::string& password);

private:
    using Digest = std::array<unsigned char, 32>;
    [[nodiscard]] Digest DigestOf(const std::string& hash, const std::string& password) const;

    unsigned long long operations_;
    std::size_t memory_;
    Digest key_;
    std::string nobody_;  ///< hash of no password that anybody knows
    std::mutex lock_;
    std::unordered_map<std::string, Digest> remembered_;
};

}  // namespace Nexar
