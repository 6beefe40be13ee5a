#include "Store/Postgres/PostgresConnection.hpp"

#include "Store/Postgres/PostgresStatement.hpp"

#include <libpq-fe.h>

#include <algorithm>
#include <new>
#include <utility>

namespace Nexar {

namespace {

using Kind = DatabaseError::Kind;

constexpr std::chrono::milliseconds FirstPause{50};
constexpr std::chrono::milliseconds LongestPause{2'000};
constexpr const char* BeginReadingSql = "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY";
constexpr const char* BeginWritingSql = "BEGIN ISOLATION LEVEL READ COMMITTED";
/// Nobody waits for ever for whoever locked a table by hand.
constexpr const char* Settings = "SET client_encoding = 'UTF8'; SET lock_timeout = '2s'; "
                                 "SET idle_in_transaction_session_timeout = '60s'";

std::string StateOf(const pg_result* result)
{
    const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    return state != nullptr ? state : "";
}

Kind KindOf(std::string_view sqlState)
{
    // Another transaction was quicker: seen again, a rule refuses what a key or a reference did.
    for (const auto undone : {"40001", "40P01", "23505", "23503"})
        if (sqlState == undone)
            return Kind::Undone;
    // Connections, resources, the operator, the system; a lock; a standby, which cannot write.
    for (const auto passing : {"08", "53", "57", "58", "55P03", "25006"})
        if (sqlState.starts_with(passing))
            return Kind::Unavailable;
    return Kind::Broken;
}

}  // namespace

void ClearPostgresResult::operator()(pg_result* result) const noexcept
{
    PQclear(result);
}

PostgresConnection::PostgresConnection(std::string url, Use use) : url_(std::move(url)), use_(use)
{}

PostgresConnection::~PostgresConnection()
{
    Close();
}

PreparedStatement& PostgresConnection::Prepare(const char* sql)
{
    auto& statement = statements_[sql];
    if (!statement)
        statement = std::make_unique<PostgresStatement>(*this, ++lastName_, sql);
    return *statement;
}

void PostgresConnection::Execute(const char* sql)
{
    if (std::string_view(sql) == "ROLLBACK") {
        waiting_.clear();
        isInTransaction_ = false;
        // What the server never heard of, or lost with the connection, needs none.
        if (!std::exchange(isBegun_, false) || handle_ == nullptr)
            return;
        DropAnswers();
    }
    if (isInTransaction_) {
        std::string_view text = sql;
        for (auto end = text.find(';'); !text.empty(); end = text.find(';')) {
            Enqueue(std::string(text.substr(0, end)));
            text.remove_prefix(std::min(end, text.size() - 1) + 1);
        }
        return;
    }
    RequireConnection();
    (void)Exchange(1, [&] {
        return PQsendQueryParams(handle_, sql, 0, nullptr, nullptr, nullptr, nullptr, 0) == 1;
    });
}

/// What failed among them would keep what follows from being done.
void PostgresConnection::DropAnswers()
{
    try {
        if (unanswered_ > 0)
            (void)Exchange(0, [] { return true; });
    } catch (const DatabaseError&) {
        // Whoever undoes it knows, or does not ask.
    }
}

void PostgresConnection::Enqueue(std::string sql)
{
    waiting_.push_back(std::move(sql));
}

void PostgresConnection::BeginReading()
{
    RequireConnection();
    waiting_.assign(1, BeginReadingSql);
    isInTransaction_ = true;
}

void PostgresConnection::EndReading() noexcept
{
    waiting_.clear();
    isInTransaction_ = false;
    if (!std::exchange(isBegun_, false) || handle_ == nullptr)
        return;
    // Nobody needs to wait for its answer.
    hasLateAnswer_ =
        PQsendQueryParams(handle_, "COMMIT", 0, nullptr, nullptr, nullptr, nullptr, 0) == 1 &&
        PQpipelineSync(handle_) == 1 && PQflush(handle_) >= 0;
    if (!hasLateAnswer_)
        Close();
}

void PostgresConnection::BeginWriting()
{
    RequireConnection();
    waiting_.assign(1, BeginWritingSql);
    isInTransaction_ = true;
}

void PostgresConnection::CommitWriting()
{
    isCommitting_ = true;
    struct Reset {
        bool& flag;
        ~Reset() { flag = false; }
    } reset{isCommitting_};
    const auto result = Exchange(1, [this] {
        return PQsendQueryParams(handle_, "COMMIT", 0, nullptr, nullptr, nullptr, nullptr, 0) == 1;
    });
    if (std::string_view(PQcmdStatus(result.get())) != "COMMIT")
        throw DatabaseError("The store undid what it was to commit.", Kind::Undone);
    isInTransaction_ = isBegun_ = false;
}

void PostgresConnection::ExecuteScript(const char* sql)
{
    if (!isInTransaction_)
        RequireConnection();
    (void)Exchange(0, [] { return true; });
    PQexitPipelineMode(handle_);
    const PostgresResult result(PQexec(handle_, sql));
    PQenterPipelineMode(handle_);
    const auto status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        Fail(result);
}

PostgresResult PostgresConnection::Run(const std::string& name, const std::string& sql,
                                       const Parameters& parameters, std::uint64_t& preparedFor)
{
    if (!isInTransaction_)
        RequireConnection();
    const int count = static_cast<int>(parameters.values.size());
    const bool isNew = preparedFor != generation_;
    // Once the server has it under its name it keeps it, whatever becomes of its transaction.
    struct Note {
        ~Note()
        {
            if (connection.goodAnswers_ > 0)
                preparedFor = connection.generation_;
        }
        PostgresConnection& connection;
        std::uint64_t& preparedFor;
    } note{*this, preparedFor};
    return Exchange(isNew ? 2 : 1, [&] {
        return (!isNew || PQsendPrepare(handle_, name.c_str(), sql.c_str(), count,
                                        parameters.types.data()) == 1) &&
               PQsendQueryPrepared(handle_, name.c_str(), count, parameters.values.data(),
                                   parameters.lengths.data(), parameters.formats.data(), 0) == 1;
    });
}

/// Never within a transaction: what it did until then is lost with its connection.
void PostgresConnection::RequireConnection()
{
    isInTransaction_ = isBegun_ = false;
    waiting_.clear();
    if (handle_ != nullptr && PQstatus(handle_) == CONNECTION_OK)
        return;
    Close();
    if (std::chrono::steady_clock::now() < nextAttempt_)
        throw DatabaseError("The store does not answer.", Kind::Unavailable);
    try {
        Open();
        pause_ = std::chrono::milliseconds(0);
    } catch (...) {
        Close();
        pause_ = std::clamp(2 * pause_, FirstPause, LongestPause);
        nextAttempt_ = std::chrono::steady_clock::now() + pause_;
        throw;
    }
}

void PostgresConnection::Open()
{
    // What the URL says counts more.
    constexpr const char* keys[] = {"application_name",
                                    "connect_timeout",
                                    "tcp_user_timeout",
                                    "keepalives_idle",
                                    "target_session_attrs",
                                    "dbname",
                                    nullptr};
    const char* const values[] = {"nexar-server", "5",          "10000", "10",
                                  "read-write",   url_.c_str(), nullptr};
    handle_ = PQconnectdbParams(keys, values, 1);
    if (handle_ == nullptr)
        throw std::bad_alloc();
    if (PQstatus(handle_) != CONNECTION_OK)
        throw DatabaseError(std::string("Cannot open the store: ") + PQerrorMessage(handle_),
                            Kind::Unavailable);
    PQsetNoticeProcessor(
        handle_, [](void*, const char*) {}, nullptr);
    const PostgresResult set(PQexec(handle_, Settings));
    if (PQresultStatus(set.get()) != PGRES_COMMAND_OK || PQenterPipelineMode(handle_) != 1)
        throw DatabaseError(std::string("Cannot open the store: ") + PQerrorMessage(handle_),
                            Kind::Unavailable);
    ++generation_;
}

void PostgresConnection::Close() noexcept
{
    PQfinish(std::exchange(handle_, nullptr));
    hasLateAnswer_ = false;
    unanswered_ = 0;
}

void PostgresConnection::RunUnanswered(const std::string& name, const std::string& sql,
                                       const Parameters& parameters, std::uint64_t& preparedFor)
{
    if (!isInTransaction_ || preparedFor != generation_) {
        (void)Run(name, sql, parameters, preparedFor);
        return;
    }
    SendWaiting();
    if (PQsendQueryPrepared(handle_, name.c_str(), static_cast<int>(parameters.values.size()),
                            parameters.values.data(), parameters.lengths.data(),
                            parameters.formats.data(), 0) != 1)
        FailLost();
    // Neither end may be kept from sending by what the other has not read.
    constexpr int mostUnanswered = 200;
    if (++unanswered_ >= mostUnanswered)
        (void)Exchange(0, [] { return true; });
}

void PostgresConnection::SendWaiting()
{
    goodAnswers_ = 0;
    if (handle_ == nullptr)
        FailLost();
    TakeLateAnswer();
    for (const auto& sql : std::exchange(waiting_, {}))
        if (PQsendQueryParams(handle_, sql.c_str(), 0, nullptr, nullptr, nullptr, nullptr, 0) == 1)
            ++unanswered_;
        else
            FailLost();
    isBegun_ = isBegun_ || isInTransaction_;
}

PostgresResult PostgresConnection::Exchange(int answers, const std::function<bool()>& send)
{
    SendWaiting();
    if (!send() || PQpipelineSync(handle_) != 1)
        FailLost();
    const int before = std::exchange(unanswered_, 0);
    goodAnswers_ = -before;
    return ReadAnswers(answers + before);
}

/// Up to the point where the server is in step again; the first failure counts.
PostgresResult PostgresConnection::ReadAnswers(int count)
{
    PostgresResult last, failure;
    for (int answer = 0; answer < count; ++answer) {
        while (PostgresResult result{PQgetResult(handle_)}) {
            const auto status = PQresultStatus(result.get());
            const bool isGood = status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
            goodAnswers_ += isGood ? 1 : 0;
            if (!isGood && !failure)
                failure = std::move(result);
            else
                last = std::move(result);
            if (PQstatus(handle_) != CONNECTION_OK)
                FailLost();
        }
    }
    const PostgresResult inStep(PQgetResult(handle_));
    if (PQstatus(handle_) != CONNECTION_OK || PQresultStatus(inStep.get()) != PGRES_PIPELINE_SYNC)
        FailLost();
    if (failure)
        Fail(failure);
    return last;
}

void PostgresConnection::TakeLateAnswer()
{
    if (std::exchange(hasLateAnswer_, false))
        (void)ReadAnswers(1);
}

void PostgresConnection::Fail(const PostgresResult& result)
{
    throw DatabaseError(std::string("The store refused a statement: ") +
                            PQresultErrorMessage(result.get()),
                        KindOf(StateOf(result.get())));
}

/// What was not committed did not happen; of a commit whose answer never came nobody knows.
void PostgresConnection::FailLost()
{
    const std::string reason = handle_ != nullptr ? PQerrorMessage(handle_) : "";
    Close();
    throw DatabaseError("The connection to the store was lost. " + reason,
                        isCommitting_ ? Kind::Unavailable : Kind::Undone);
}

}  // namespace Nexar
