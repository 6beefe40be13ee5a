#pragma once

#include "Store/Database.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct pg_conn;
struct pg_result;

namespace Nexar {

struct ClearPostgresResult {
    void operator()(pg_result* result) const noexcept;
};
using PostgresResult = std::unique_ptr<pg_result, ClearPostgresResult>;

/// A connection to PostgreSQL that is made when it is needed, and made anew when it was lost: not
/// before its next transaction, and after growing pauses while nobody answers. What has no answer
/// of its own (the begin of a transaction, a part of one) travels with the next statement, so that
/// a transaction costs as many round trips as it has statements, and one for its commit.
class PostgresConnection final : public Connection {
public:
    enum class Use { Reads, Writes };

    PostgresConnection(std::string url, Use use);
    ~PostgresConnection() override;
    PostgresConnection(const PostgresConnection&) = delete;
    PostgresConnection& operator=(const PostgresConnection&) = delete;

    [[nodiscard]] PreparedStatement& Prepare(const char* sql) override;
    void Execute(const char* sql) override;
    void BeginReading() override;
    void EndReading() noexcept override;
    void BeginWriting() override;
    void CommitWriting() override;
    [[nodiscard]] bool IsInTransaction() const override { return isInTransaction_; }

    /// Several statements without parameters, one after the other.
    void ExecuteScript(const char* sql);

    struct Parameters {
        std::vector<unsigned> types;
        std::vector<const char*> values;
        std::vector<int> lengths;
        std::vector<int> formats;
    };
    /// Runs a statement under its name, which it gets at the first time.
    [[nodiscard]] PostgresResult Run(const std::string& name, const std::string& sql,
                                     const Parameters& parameters, std::uint64_t& preparedFor);
    /// The same where nobody asks for the result: a failure is told by what follows.
    void RunUnanswered(const std::string& name, const std::string& sql,
                       const Parameters& parameters, std::uint64_t& preparedFor);
    /// Travels with the next statement.
    void Enqueue(std::string sql);
    [[nodiscard]] bool LocksRows() const { return use_ == Use::Writes; }

private:
    void RequireConnection();
    void Open();
    void Close() noexcept;
    void SendWaiting();
    void DropAnswers();
    /// Sends what waits and then what `send` sends, of `answers` answers; returns the last of them.
    PostgresResult Exchange(int answers, const std::function<bool()>& send);
    [[nodiscard]] PostgresResult ReadAnswers(int count);
    [[noreturn]] static void Fail(const PostgresResult& result);
    [[noreturn]] void FailLost();
    void TakeLateAnswer();

    std::string url_;
    Use use_;
    pg_conn* handle_ = nullptr;
    std::uint64_t generation_ = 0;  ///< of the connection; statements are prepared for one
    std::uint64_t lastName_ = 0;
    std::map<const char*, std::unique_ptr<PreparedStatement>> statements_;
    std::vector<std::string> waiting_;
    int unanswered_ = 0;  ///< statements that were sent, and what came of them is not known
    bool isInTransaction_ = false;
    bool isBegun_ = false;  ///< the server knows of the transaction
    bool isCommitting_ = false;
    bool hasLateAnswer_ = false;
    int goodAnswers_ = 0;  ///< of the last exchange, without what had waited
    std::chrono::steady_clock::time_point nextAttempt_;
    std::chrono::milliseconds pause_{0};
};

}  // namespace Nexar
