#pragma once

#include "Process.hpp"
#include "Store/News.hpp"

#include <memory>
#include <mutex>
#include <set>
#include <stop_token>
#include <thread>

struct pg_conn;

namespace Nexar {

/// News by a connection that listens. The lock of a notification is one for all commits of the
/// database, so none is part of a transaction: this thread tells of many commits at once.
class PostgresNews final : public News {
public:
    PostgresNews(std::string url, const std::string& topic, Heard heard);
    ~PostgresNews() override;
    PostgresNews(const PostgresNews&) = delete;
    PostgresNews& operator=(const PostgresNews&) = delete;

    void Tell(const std::string& projectId) override;

private:
    struct Close {
        void operator()(pg_conn* connection) const noexcept;
    };
    using Handle = std::unique_ptr<pg_conn, Close>;
    void Run(const std::stop_token& token);
    [[nodiscard]] Handle Listen() const;
    /// Both are false when the connection is lost.
    [[nodiscard]] bool Hear(pg_conn* connection);
    [[nodiscard]] bool TellOthers(pg_conn* connection);

    std::string url_;
    std::string channel_;
    Heard heard_;
    Wakeup wakeup_;
    std::mutex lock_;
    std::set<std::string> told_;
    std::jthread thread_;
};

}  // namespace Nexar
