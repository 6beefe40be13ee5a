#pragma once

#include "EventLog.hpp"
#include "GroupStore.hpp"
#include "HttpServer.hpp"
#include "ProjectStore.hpp"
#include "Router.hpp"
#include "SessionStore.hpp"

namespace Nexar {

/// The activity log of the projects and the log of the server's load.
class EventLogService {
public:
    EventLogService(HttpServer& server, StoreWorkers& workers, const Limits& limits,
                    ProjectStore& projects, SessionStore& sessions, GroupStore& groups,
                    EventLog& log)
        : server_(server), workers_(workers), limits_(limits), projects_(projects),
          sessions_(sessions), groups_(groups), log_(log)
    {
        SampleLater();
        DropOldLater(std::chrono::milliseconds(0));
    }
    void AddRoutes(Router& router);
    /// Logs the load of the last minute, unless nobody asked for anything.
    void Stop();

private:
    /// Logs the load of the time since it was last logged.
    void SampleLoad(const HttpServer::Traffic& traffic);
    void Sample(const HttpServer::Traffic& traffic);
    void Add(const Call& call);
    void SampleLater();
    /// What is older than is kept, now and then.
    void DropOldLater(std::chrono::milliseconds wait);

    HttpServer& server_;
    StoreWorkers& workers_;
    const Limits& limits_;
    ProjectStore& projects_;
    SessionStore& sessions_;
    GroupStore& groups_;
    EventLog& log_;
    std::shared_ptr<void> next_;
    std::shared_ptr<void> nextDropping_;
    double cpuSeconds_ = 0;
    std::chrono::steady_clock::time_point lastSample_ = std::chrono::steady_clock::now();
};

}  // namespace Nexar
