#include "PresenceManager/PresenceManager.hpp"

#include "OVRoot/Condition.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/ProcessEnd.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/Backoff.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/HttpClient.hpp"
#include "SYCommunication/ServerTrust.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>
#include <atomic>
#include <optional>

namespace SYC {

namespace {

using Syncra::Client::SignInData;
using Syncra::Client::SyncraClient;
using Syncra::Messaging::MessagingClient;

/// The account that the messaging service has built in; it may read presence and nothing else.
constexpr OV::UniStringView LookoutName = u"lookout";
constexpr OV::UniStringView LookoutPassword = u"lookout";

/// Short enough for the boxes on the way, which drop what is silent for a minute.
constexpr std::uint32_t ReceiveMilliseconds = 25'000;
constexpr std::uint32_t NoProjectsPauseMilliseconds = 30'000;

constexpr const char* NotConnected = "Could not connect to the server";

/// What is being handled, as the cause of a failure.
std::shared_ptr<const OV::Exception> CurrentCause()
{
    try {
        throw;
    } catch (const OV::Exception& error) {
        return error.Clone();
    } catch (...) {
        return std::make_shared<OV::Exception>(OV::DescribeCurrentException());
    }
}

/// Runs one step of the check; its failure becomes one of `message`.
template <class Work>
auto Step(const char* message, const Work& work)
{
    try {
        return work();
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (...) {
        throw PresenceManagerException(OV::StringView(message), OV::SourcePlace::Here(),
                                       CurrentCause());
    }
}

/// Whether his signing in was refused: asking again would be, too, and might lock his account.
bool RefusesUser(const PresenceManagerException& failure)
{
    const auto* refusal =
        dynamic_cast<const Communication::ResponseContentException*>(failure.GetCause());
    return refusal != nullptr && failure.GetMessage() == OV::FromUtf8(NotConnected) &&
           Syncra::Protocol::RefusesUser(refusal->GetErrorCode());
}

std::uint16_t FindMessagingPort(SyncraClient& client)
{
    const auto ports =
        Step("Could not get the messaging port", [&] { return client.GetServicePortList(); });
    const auto found = std::find_if(ports.begin(), ports.end(), [](const auto& port) {
        return port.service == Syncra::Protocol::ServiceNames::Messaging;
    });
    if (found == ports.end() || found->port == 0)
        throw PresenceManagerException("Could not get the messaging port");
    return found->port;
}

OV::Array<OV::UniString> GetProjectIds(SyncraClient& client)
{
    OV::Array<OV::UniString> ids;
    for (auto& project : Step("Could not get projects", [&] { return client.GetProjects(); }))
        ids.push_back(std::move(project.id));
    return ids;
}

bool IsSameTarget(const SignInData& left, const SignInData& right)
{
    return left.serverName == right.serverName && left.port == right.port &&
           left.userName == right.userName && left.password == right.password;
}

}  // namespace

/// Follows one target on a thread of its own. Destroying it interrupts and joins.
class PresenceManager::Check {
public:
    Check(PresenceManager& owner, SignInData target)
        : owner_(owner), target_(std::move(target)), thread_("PresenceCheck", [this] { Run(); })
    {}
    ~Check() { Stop(); }

    void Stop()
    {
        thread_.Interrupt();
        thread_.Join();
    }

    /// Waits for the first attempt and throws what the newest one threw.
    void AwaitOutcome()
    {
        settled_.Wait();
        const OV::LockGuard guard(lock_);
        if (failure_)
            throw PresenceManagerException(*failure_);
        if (hasEnded_)
            throw PresenceManagerException(OV::StringView(NotConnected));
    }

    [[nodiscard]] Failure GetLastFailure()
    {
        const OV::LockGuard guard(lock_);
        return failure_ ? DescribeException(std::make_exception_ptr(*failure_)) : Failure();
    }

    /// Whether nobody follows the target any more.
    [[nodiscard]] bool HasEnded() const noexcept { return hasEnded_; }

private:
    void Run() noexcept
    {
        const Communication::ServerTrust::WithoutQuestion quiet;
        try {
            SYCB::Backoff backoff;
            while (TryOnce(backoff))
                OV::Thread::Sleep(backoff.NextMilliseconds());
        } catch (const OV::InterruptedException&) {
            // Stopped.
        } catch (...) {
            OV::LogCurrentException("SYClient", u"PresenceManager: % ended: %", u"the check");
            Forget();
        }
        // Whoever waits for the first attempt must not wait for ever.
        hasEnded_ = true;
        settled_.Notify();
    }

    /// Follows until something fails. Returns whether to try again.
    bool TryOnce(SYCB::Backoff& backoff)
    {
        try {
            Follow(backoff);
        } catch (const OV::InterruptedException&) {
            throw;
        } catch (const PresenceManagerException& failure) {
            // Before it is told: who hears of it may ask for the same target at once.
            hasEnded_ = RefusesUser(failure);
            Settle(failure);
        } catch (...) {
            Settle(PresenceManagerException(OV::StringView(NotConnected), OV::SourcePlace::Here(),
                                            CurrentCause()));
        }
        Forget();
        return !hasEnded_;
    }

    /// Who was present is not known any more; an old answer would be shown as a new one.
    void Forget()
    {
        owner_.SetMessagingClient(nullptr);
        owner_.SetActivePresenceIds({});
    }

    /// Never returns: ends with what ends the connection.
    void Follow(SYCB::Backoff& backoff)
    {
        const auto server = Step(NotConnected, [&] { return SYCB::CreateSyncraClient(target_); });
        const std::uint16_t port = FindMessagingPort(*server);
        const std::shared_ptr<MessagingClient> client =
            Step("Could not create messaging client", [&] {
                return std::make_shared<MessagingClient>(
                    SignInData{target_.serverName, port, OV::UniString(LookoutName),
                               OV::UniString(LookoutPassword)});
            });
        owner_.SetMessagingClient(client);
        auto projects = GetProjectIds(*server);
        while (projects.empty()) {
            Settle({});
            OV::Thread::Sleep(NoProjectsPauseMilliseconds);
            projects = GetProjectIds(*server);
        }
        Step("Could not subscribe to receive presence", [&] {
            client->SetReceiveTimeout(ReceiveMilliseconds);
            client->SubscribeToReceivePresence(projects);
        });
        for (;;) {
            auto ids = client->ReceivePresence();
            owner_.SetActivePresenceIds(std::move(ids));
            backoff.Reset();
            Settle({});
        }
    }

    void Settle(std::optional<PresenceManagerException> failure)
    {
        if (failure)
            OV::Logger::Warning("SYClient", u"PresenceManager: %: %",
                                {failure->GetMessage(), failure->GetCause()
                                                            ? failure->GetCause()->GetMessage()
                                                            : OV::UniString()});
        {
            const OV::LockGuard guard(lock_);
            failure_ = std::move(failure);
        }
        settled_.Notify();
    }

    PresenceManager& owner_;
    SignInData target_;
    OV::Lock lock_;
    std::optional<PresenceManagerException> failure_ OV_GUARDED_BY(lock_);
    std::atomic<bool> hasEnded_ = false;
    OV::Condition settled_;  ///< stays notified
    OV::Thread thread_;      ///< last, since it uses the others
};

PresenceManager::PresenceManager() = default;

PresenceManager::~PresenceManager()
{
    StopPresenceCheck();
}

PresenceManager& PresenceManager::GetInstance()
{
    static auto& instance = *new PresenceManager;
    Communication::PrepareTransport();
    [[maybe_unused]] static const bool ends =
        OV::AtProcessEnd([] { instance.StopPresenceCheck(); });
    return instance;
}

void PresenceManager::SetTargetServer(const OV::UniString& host, std::uint16_t port,
                                      const OV::UniString& user, const OV::Secret& password)
{
    if (host.empty() || port == 0)
        throw OV::IllegalArgumentException("Invalid host name or port number");
    StartCheck({host, port, user, password})->AwaitOutcome();
}

std::shared_ptr<PresenceManager::Check> PresenceManager::StartCheck(SignInData target)
{
    const OV::LockGuard change(changeLock_);
    std::shared_ptr<Check> former;
    {
        const OV::LockGuard guard(lock_);
        if (check_ && !check_->HasEnded() && IsSameTarget(target_, target))
            return check_;
        former = std::move(check_);
    }
    // Joined without the lock, which its thread may be waiting for.
    if (former)
        former->Stop();
    SetMessagingClient(nullptr);
    SetActivePresenceIds({});
    const OV::LockGuard guard(lock_);
    target_ = std::move(target);
    check_ = std::make_shared<Check>(*this, target_);
    return check_;
}

OV::UniString PresenceManager::GetHost() const
{
    const OV::LockGuard guard(lock_);
    return target_.serverName;
}

Failure PresenceManager::GetLastFailure() const
{
    std::shared_ptr<Check> check;
    {
        const OV::LockGuard guard(lock_);
        check = check_;
    }
    return check ? check->GetLastFailure() : Failure();
}

PresenceManager::PresenceIds PresenceManager::GetActivePresenceIds() const
{
    const OV::LockGuard guard(lock_);
    return activeIds_;
}

void PresenceManager::SetActivePresenceIds(PresenceIds ids)
{
    const OV::LockGuard guard(lock_);
    activeIds_ = std::move(ids);
}

std::shared_ptr<MessagingClient> PresenceManager::GetMessagingClient() const
{
    const OV::LockGuard guard(lock_);
    return client_;
}

void PresenceManager::SetMessagingClient(std::shared_ptr<MessagingClient> client)
{
    // The former one ends its connection when the lock is free again.
    const OV::LockGuard guard(lock_);
    client_.swap(client);
}

void PresenceManager::StopPresenceCheck()
{
    const OV::LockGuard change(changeLock_);
    std::shared_ptr<Check> former;
    {
        const OV::LockGuard guard(lock_);
        former = std::move(check_);
    }
    if (former)
        former->Stop();
    SetMessagingClient(nullptr);
    SetActivePresenceIds({});
}

void PresenceManager::BeforeShutdown()
{
    StopPresenceCheck();
}

void PresenceManager::AfterShutdown()
{
    const OV::LockGuard guard(lock_);
    target_ = {};
}

}  // namespace SYC
