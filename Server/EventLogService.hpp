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
    EventLogService(HttpServer& server, ProjectStore& projects, SessionStore& sessions,
                    GroupStore& groups, EventLog& log)
        : server_(server), projects_(projects), sessions_(sessions), groups_(groups), log_(log)
    {
        SampleLater();
    }
    void AddRoutes(Router& router);
    /// Logs the load of the last minute, unless nobody asked for anything.
    void Stop();

private:
    /// Logs the load of the time since it was last logged.
    void Sample(const HttpServer::Traffic& traffic);
    void Add(const Call& call);
    void SampleLater();

    HttpServer& server_;
    ProjectStore& projects_;
    SessionStore& sessions_;
    GroupStore& groups_;
    EventLog& log_;
    std::shared_ptr<void> next_;
    double cpuSeconds_ = 0;
    std::chrono::steady_clock::time_point lastSample_ = std::chrono::steady_clock::now();
};

}  // namespace Nexar
