#pragma once

#include "Failure.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Secret.hpp"
#include "OVRoot/UniString.hpp"
#include "PresenceManager/PresenceManagerException.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraMessaging/MessagingClient.hpp"

#include <memory>

namespace SYC {

/// Follows which users are present on one target server, for views that ask when they draw; it
/// tells nobody of changes. Present is whose client waits for signals of a project (PKSignalClient)
/// and, for the server's grace after it, whose client did; a session alone makes nobody present.
/// One a process; safe on any thread.
class SYC_API PresenceManager {
public:
    /// Login names.
    using PresenceIds = OV::HashSet<OV::UniString>;

    /// Made on first use.
    [[nodiscard]] static PresenceManager& GetInstance();
    PresenceManager(const PresenceManager&) = delete;
    PresenceManager& operator=(const PresenceManager&) = delete;

    /// `port` is that of the model service, as in a project URL.
    ///
    /// Follows the presence on that server from now on and returns once its first check went well;
    /// blocks for as long as the server takes (some five requests, each as
    /// HttpOptions allow), or until the calling OV::Thread is interrupted. Throws
    /// OV::IllegalArgumentException for an empty host or port 0 before anything else, and
    /// PresenceManagerException when the check fails: the server is then tried again in the
    /// background until the check is stopped, unless it refused the user. The target that is
    /// followed already costs nothing.
    void SetTargetServer(const OV::UniString& host, std::uint16_t port, const OV::UniString& user,
                         const OV::Secret& password);
    /// Of the target server; empty when there is none.
    [[nodiscard]] OV::UniString GetHost() const;
    /// Who is present, as one consistent set; empty while nobody knows.
    [[nodiscard]] PresenceIds GetActivePresenceIds() const;
    /// Why nobody knows who is present: how the newest attempt on the target server failed. None
    /// while it goes well or nothing is followed.
    [[nodiscard]] Failure GetLastFailure() const;
    /// Ends the presence-check thread within 100 ms; nobody counts as present any more.
    void StopPresenceCheck();

    /// For the module that holds this library: stops and lets go of the clients before it unloads.
    void BeforeShutdown();
    /// Forgets the target as well.
    void AfterShutdown();

protected:
    PresenceManager();
    ~PresenceManager();

    /// Null while there is no connection.
    [[nodiscard]] std::shared_ptr<Syncra::Messaging::MessagingClient> GetMessagingClient() const;
    /// What GetActivePresenceIds gives from now on.
    void SetActivePresenceIds(PresenceIds ids);

private:
    class Check;
    void SetMessagingClient(std::shared_ptr<Syncra::Messaging::MessagingClient> client);
    [[nodiscard]] std::shared_ptr<Check> StartCheck(Syncra::Client::SignInData target);

    OV::Lock changeLock_;  ///< one change of the target at a time; taken before `lock_`
    mutable OV::Lock lock_;
    Syncra::Client::SignInData target_ OV_GUARDED_BY(lock_);
    std::shared_ptr<Check> check_ OV_GUARDED_BY(lock_);
    std::shared_ptr<Syncra::Messaging::MessagingClient> client_ OV_GUARDED_BY(lock_);
    PresenceIds activeIds_ OV_GUARDED_BY(lock_);
};

}  // namespace SYC
