#pragma once

#include "HttpServer.hpp"
#include "Limits.hpp"
#include "PasswordHash.hpp"
#include "Share.hpp"
#include "SignInLimits.hpp"

#include "OVRoot/PooledExecutor.hpp"
#include "OVRoot/SecureWipe.hpp"

#include <cstdint>
#include <deque>
#include <exception>
#include <optional>

namespace Nexar {

/// Password hashes on threads of their own, so that a sign-in holds nobody else up. A hash costs
/// its asker nothing and the server a long computation, so what waits is limited, in all and for
/// each name; users who are signed in come before those who want to be, and those of an address
/// that was not served last before the others. When no more may wait, the address with the most of
/// them gives way to one with fewer. Whoever is too much is told when to come back, and who hangs
/// up is not computed for. Used on the server's thread alone; results come back on it.
class PasswordWorker {
public:
    PasswordWorker(HttpServer& server, const Limits& limits, PasswordHash& hash)
        : server_(server), mostWaiting_(limits.waitingPasswords), hash_(hash)
    {}

    struct Attempt {
        std::string login;
        std::string address;
        std::string userId = {};
        std::string hash = {};  ///< empty when there is no such user
        std::string password = {};
        std::chrono::seconds mustWait{0};  ///< as other processes on the store know
        Attempt() = default;
        Attempt(const Attempt&) = default;
        Attempt& operator=(const Attempt&) = default;
        ~Attempt() { OV::SecureWipe(password); }
    };
    /// As PasswordHash::Check for a sign-in. Calls `then`, within the call when the answer is known
    /// already, or refuses through `reply`.
    void Check(const std::shared_ptr<Attempt>& attempt, const Reply& reply,
               std::function<void(bool)> then);
    /// A new hash for somebody who is signed in.
    void Make(const std::string& password, const Reply& reply,
              std::function<void(const std::string& hash)> then);
    [[nodiscard]] bool IsOutdated(const std::string& hash) const { return hash_.IsOutdated(hash); }

    [[nodiscard]] std::size_t Waiting() const { return waiting_.size(); }

    /// Refuses what waits, for the end of the server.
    void RefuseWaiting();

private:
    /// Runs on a thread of its own; what it returns runs on the server's.
    using Computation = std::function<std::function<void()>()>;
    struct Job {
        std::uint64_t number;
        std::string login;  ///< empty for who is signed in
        std::string address;
        Reply reply;
        Computation compute;
    };

    /// A job on its thread; counts among the running ones while it lives.
    struct Running {
        Running(std::size_t& sum, Job its) : count(sum, 1), job(std::move(its)) {}
        Share count;
        Job job;
        std::function<void()> finish = nullptr;
        std::exception_ptr error = nullptr;
    };

    void Add(Job job);
    void StartNext();
    void Finish(std::optional<Running>& running);
    [[nodiscard]] std::deque<Job>::iterator ChooseNext();
    void Forget(std::uint64_t number);
    [[nodiscard]] std::size_t WaitingFrom(const std::string& address) const;
    /// Whether the job may wait, if need be in the place of another.
    [[nodiscard]] bool MakeRoom(const Job& job);

    HttpServer& server_;
    std::size_t mostWaiting_;
    PasswordHash& hash_;
    SignInLimits limits_;
    std::deque<Job> waiting_;
    std::size_t running_ = 0;
    std::uint64_t lastNumber_ = 0;
    std::string lastAddress_;
    OV::PooledExecutor workers_{2, 2, 60'000};
};

}  // namespace Nexar
