#pragma once

#include "HttpServer.hpp"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace Nexar {

/// Who is present in which project: everybody whose client holds a signal request on it, and for a
/// while after that, so that nobody flickers between two requests.
class PresenceBoard {
public:
    PresenceBoard(HttpServer& server, std::chrono::milliseconds grace)
        : server_(server), grace_(grace)
    {}

    /// The user holds a request until the returned handle goes.
    [[nodiscard]] std::shared_ptr<void> Enter(const std::string& projectId,
                                              const std::string& login);
    /// Adds the login names of those who are present.
    void Collect(const std::string& projectId, std::set<std::string>& logins) const;
    /// How many are present in each project; in none that is not named.
    [[nodiscard]] std::map<std::string, std::uint32_t> Counts() const;
    /// Called after somebody came or went in a project.
    void SetObserver(std::function<void(const std::string& projectId)> observer);

    using Logins = std::set<std::string>;
    using Present = std::map<std::string, Logins>;  ///< in each project
    /// Called after somebody came or went here.
    using Change =
        std::function<void(const std::string& projectId, const std::string& login, bool isPresent)>;
    void SetChange(Change change) { change_ = std::move(change); }
    /// Those who are present here.
    [[nodiscard]] Present Here() const;
    /// Who is present at other processes: in one project, or in all.
    void SetElsewhere(const std::string& projectId, Logins logins);
    void SetElsewhere(Present present);
    /// The server stops: nobody's absence is waited for any more.
    void Stop();

private:
    struct Presence {
        int requests = 0;
        std::shared_ptr<void> leaving;  ///< timer that takes him off
    };
    void Leave(const std::string& projectId, const std::string& login);
    void TakeOff(const std::string& projectId, const std::string& login);

    void Tell(const std::string& projectId, const std::string& login, bool isPresent);

    HttpServer& server_;
    std::chrono::milliseconds grace_;
    std::map<std::string, std::map<std::string, Presence>> projects_;
    Present elsewhere_;
    std::function<void(const std::string&)> observer_;
    Change change_;
    bool stopping_ = false;
};

}  // namespace Nexar
