#pragma once

#include "PresenceBoard.hpp"
#include "SignInLimits.hpp"
#include "Store/News.hpp"
#include "StoreWorkers.hpp"
#include "TokenStore.hpp"

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace Nexar {

/// What the processes on one store know of each other: who is present with which of them. A process
/// holds its rows by a lease, which it renews while it lives; what a dead one held is given up when
/// the lease is over. Of a store that one process has alone there is nothing to know, and nothing
/// is done. On the server's thread.
class Fellows {
public:
    Fellows(HttpServer& server, StoreWorkers& workers, Database& database, PresenceBoard& board,
            Tokens& tokens, std::chrono::seconds lease, std::chrono::milliseconds grace);
    ~Fellows();
    Fellows(const Fellows&) = delete;
    Fellows& operator=(const Fellows&) = delete;

    /// The server stops: who was present here has the usual while to come to another process.
    void Stop();

private:
    using Change = std::pair<std::string, std::string>;  ///< project and login
    using Changes = std::map<Change, bool>;              ///< whether he is present now

    void RenewLater(std::chrono::milliseconds wait);
    void WriteSoon();
    /// Writes the lease and what changed; one such write is under way at a time.
    void Write();
    void Written(const std::exception_ptr& error, const Changes& changes, bool isNew);
    void ReadSoon();
    void Read();
    /// On threads of the store.
    [[nodiscard]] bool Renew(std::int64_t seconds);
    void Put(const Changes& changes);
    [[nodiscard]] PresenceBoard::Present PresentElsewhere(const std::set<std::string>& projects);

    HttpServer& server_;
    StoreWorkers& workers_;
    Database& database_;
    PresenceBoard& board_;
    TokenStore* tokens_;  ///< none of a store that this process has alone
    SignInLimitStore refused_;
    std::chrono::seconds lease_;
    std::chrono::milliseconds grace_;
    std::string id_;
    Changes changes_;
    bool isWriting_ = false;
    bool isDue_ = false;  ///< the lease
    std::set<std::string> unread_;
    bool isAllUnread_ = false;
    bool isReading_ = false;
    bool stopping_ = false;
    std::shared_ptr<void> renewing_;
    std::shared_ptr<void> gathering_;
    std::unique_ptr<News> news_;
};

}  // namespace Nexar
