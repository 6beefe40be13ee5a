#pragma once

#include "Process.hpp"

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace Nexar {

/// Makes and checks password hashes (Argon2id). Checking costs some 90 ms by design, so it belongs
/// on a worker thread, for which a process of its own computes: while a hash takes its 64 MiB and
/// gives them back, every thread of its process that wants memory waits. A password that was
/// checked is remembered as a keyed hash in memory, and the next check of the same pair is quick.
/// Safe on any thread.
class PasswordHash {
public:
    enum class Cost { Minimum, Interactive };

    explicit PasswordHash(Cost cost);

    /// What the only argument of a process that computes for others is.
    static constexpr const char* ProcessArgument = "--compute-password-hashes";
    /// Of that process: computes until the one that asks has gone.
    static void ComputeForOthers();

    /// Throws std::bad_alloc without memory for it.
    [[nodiscard]] std::string Make(const std::string& password);
    /// An empty `hash` (no such user) takes as long as a wrong password and is false.
    /// Throws when there is no memory to find out: that says nothing of the password.
    [[nodiscard]] bool Check(const std::string& hash, const std::string& password);
    /// Whether the hash was made at another cost than Make has now.
    [[nodiscard]] bool IsOutdated(const std::string& hash) const;
    /// Whether Check would be true without the long computation; false when that is not known.
    [[nodiscard]] bool IsRemembered(const std::string& hash, const std::string& password);

private:
    using Digest = std::array<unsigned char, 32>;
    [[nodiscard]] std::string Compute(std::string request);
    [[nodiscard]] std::unique_ptr<HelperProcess> TakeHelper();
    [[nodiscard]] Digest DigestOf(const std::string& hash, const std::string& password) const;

    unsigned long long operations_;
    std::size_t memory_;
    Digest key_;
    std::string nobody_;  ///< hash of no password that anybody knows
    std::mutex lock_;
    std::vector<std::unique_ptr<HelperProcess>> idleHelpers_;
    std::unordered_map<std::string, Digest> remembered_;
};

}  // namespace Nexar
