#include "Store/Sqlite/SqliteStore.hpp"

#include "IO/File.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "Store/Sqlite/Schema.hpp"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace Nexar {

namespace {

bool IsPassing(int code)
{
    constexpr int passing[] = {SQLITE_BUSY, SQLITE_LOCKED,   SQLITE_NOMEM,   SQLITE_IOERR,
                               SQLITE_FULL, SQLITE_CANTOPEN, SQLITE_PROTOCOL};
    return std::find(std::begin(passing), std::end(passing), code) != std::end(passing);
}

[[noreturn]] void Fail(sqlite3* database, const char* what)
{
    const int code = database != nullptr ? sqlite3_extended_errcode(database) : SQLITE_NOMEM;
    const char* reason = database != nullptr ? sqlite3_errmsg(database) : "out of memory";
    throw DatabaseError(std::string(what) + ": " + reason + ".",
                        IsPassing(code & 0xFF) ? DatabaseError::Kind::Unavailable
                                               : DatabaseError::Kind::Broken);
}

/// How long an opening store waits for another process that makes or migrates it.
constexpr int OpeningMilliseconds = 10'000;
/// How long a request waits for another process that writes; everybody else waits with it.
constexpr int WaitingMilliseconds = 250;

/// What a statement of this thread may still sleep.
thread_local std::int64_t microsecondsToSleep = 0;

/// Before a statement, which then waits no longer than that for whoever holds the store.
void BeginWaiting(int milliseconds)
{
    microsecondsToSleep = std::int64_t{1000} * milliseconds;
}

int SleepWhileAllowed(sqlite3_vfs*, int microseconds)
{
    sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    const auto allowed =
        static_cast<int>(std::min<std::int64_t>(microseconds, microsecondsToSleep));
    microsecondsToSleep -= allowed;
    if (allowed > 0)
        system->xSleep(system, allowed);
    return microseconds;
}

/// The system's files, but for sleeping: a reader that gets no lock would try a hundred times over
/// ten seconds, whatever the connection's own limit is.
const char* FilesWithShortSleep()
{
    static sqlite3_vfs files = [] {
        // Nobody asks how much memory it has, and each piece would be counted under one lock.
        (void)sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
        sqlite3_vfs copy = *sqlite3_vfs_find(nullptr);
        copy.zName = "nexar";
        copy.xSleep = SleepWhileAllowed;
        return copy;
    }();
    static const int registered = sqlite3_vfs_register(&files, 0);
    return registered == SQLITE_OK ? files.zName : nullptr;
}

/// In the form of SQLite, where $1 would be a name and get the number of its place in the text.
std::string WithNumbers(const char* sql)
{
    std::string text = sql;
    for (std::size_t at = 0; (at = text.find('$', at)) != std::string::npos; ++at)
        text[at] = '?';
    return text;
}

#ifndef NDEBUG
/// A statement that walks through a table costs each request what concerns none, and shows it only
/// when the table is large. One that means to, or whose table stays small, says so in a comment.
void RefuseToWalk(sqlite3* handle, const std::string& sql)
{
    if (sql.find("/* all */") != std::string::npos)
        return;
    std::set<std::string> parts;  // of the statement itself, of which each was looked at
    sqlite3_stmt* plan = nullptr;
    sqlite3_prepare_v2(handle, ("EXPLAIN QUERY PLAN " + sql).c_str(), -1, &plan, nullptr);
    while (plan != nullptr && sqlite3_step(plan) == SQLITE_ROW) {
        constexpr int detail = 3;
        const std::string step = reinterpret_cast<const char*>(sqlite3_column_text(plan, detail));
        const std::string name = step.substr(std::min(step.find(' '), step.size() - 1) + 1);
        if (step.starts_with("CO-ROUTINE "))
            parts.insert(name);
        const bool isWalk = step.starts_with("SCAN ") && !step.starts_with("SCAN (") &&
                            !step.starts_with("SCAN json_each") && !parts.contains(name);
        if (!isWalk)
            continue;
        std::fprintf(stderr, "\"%s\" walks through a table: %s. Give it an index.\n", sql.c_str(),
                     step.c_str());
        std::abort();
    }
    sqlite3_finalize(plan);
}
#endif

class SqliteStatement final : public PreparedStatement {
public:
    SqliteStatement(sqlite3* database, const char* sql) : database_(database)
    {
        if (sqlite3_prepare_v3(database, WithNumbers(sql).c_str(), -1, SQLITE_PREPARE_PERSISTENT,
                               &statement_, nullptr) != SQLITE_OK)
            Fail(database, "Cannot prepare a statement");
#ifndef NDEBUG
        RefuseToWalk(database, WithNumbers(sql));
#endif
    }
    ~SqliteStatement() override
    {
        sqlite3_finalize(statement_);
    }
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    void Bind(int position, std::string_view text) override
    {
        if (sqlite3_bind_text64(statement_, position, DataOf(text), text.size(), SQLITE_TRANSIENT,
                                SQLITE_UTF8) != SQLITE_OK)
            Fail(database_, "Cannot bind a text");
    }
    void Bind(int position, std::int64_t number) override
    {
        if (sqlite3_bind_int64(statement_, position, number) != SQLITE_OK)
            Fail(database_, "Cannot bind a number");
    }
    void BindBlob(int position, std::string_view bytes) override
    {
        if (sqlite3_bind_blob64(statement_, position, DataOf(bytes), bytes.size(),
                                SQLITE_TRANSIENT) != SQLITE_OK)
            Fail(database_, "Cannot bind data");
    }
    bool Step() override
    {
        const int result = sqlite3_step(statement_);
        if (result != SQLITE_ROW && result != SQLITE_DONE)
            Fail(database_, "The store refused a statement");
        return result == SQLITE_ROW;
    }
    int Run() override
    {
        Step();
        return sqlite3_changes(database_);
    }
    void RunLater() override
    {
        Step();
        Again();
    }
    void Again() override
    {
        sqlite3_reset(statement_);
    }
    void Reset() noexcept override
    {
        sqlite3_reset(statement_);
        sqlite3_clear_bindings(statement_);
    }
    [[nodiscard]] std::string_view View(int column) const override
    {
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
        return bytes != nullptr ? std::string_view(bytes, size) : std::string_view();
    }
    [[nodiscard]] std::int64_t Number(int column) const override
    {
        return sqlite3_column_int64(statement_, column);
    }

private:
    /// An empty one may have no place, which would be taken for no value.
    static const char* DataOf(std::string_view text)
    {
        return text.empty() ? "" : text.data();
    }

    sqlite3* database_;
    sqlite3_stmt* statement_ = nullptr;
};

constexpr const char* BeginSnapshotSql = "BEGIN";
constexpr const char* EndSnapshotSql = "COMMIT";

class SqliteConnection final : public Connection {
public:
    SqliteConnection(const std::string& path, int waitMilliseconds)
    {
        // One thread at a time uses it, so that it needs no lock.
        const int result =
            sqlite3_open_v2(path.c_str(), &handle_,
                            SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                            FilesWithShortSleep());
        try {
            if (result != SQLITE_OK)
                Fail(handle_, ("Cannot open the store \"" + path + "\"").c_str());
            SetWait(waitMilliseconds);
        } catch (...) {
            sqlite3_close(handle_);
            throw;
        }
    }
    ~SqliteConnection() override
    {
        // SQLite does not close, and leaks, while a statement is open.
        statements_.clear();
        // The last connection that closes writes the log back into the file.
        sqlite3_close(handle_);
    }
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    void SetWait(int milliseconds)
    {
        wait_ = milliseconds;
        sqlite3_busy_timeout(handle_, wait_);
    }
    void ReadOnly()
    {
        Execute("PRAGMA query_only = ON");
        // Opens the log beside the file, too, and reads the schema.
        Execute("PRAGMA user_version; SELECT 1 FROM sqlite_schema LIMIT 1");
        // The end of a snapshot must not be the first to need memory for its statement.
        (void)Prepare(EndSnapshotSql);
    }

    [[nodiscard]] PreparedStatement& Prepare(const char* sql) override
    {
        BeginWaiting(wait_);
        auto& statement = statements_[sql];
        if (!statement) {
            // Once, so it may take its time: cut short, it would have to be done again.
            const auto end = std::exchange(end_, NoEnd);
            statement = std::make_unique<SqliteStatement>(handle_, sql);
            end_ = end;
        }
        return *statement;
    }
    void Execute(const char* sql) override
    {
        BeginWaiting(wait_);
        if (sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
            Fail(handle_, "The store refused a statement");
    }
    void BeginReading() override { Statement(Prepare(BeginSnapshotSql)).Run(); }
    void EndReading() noexcept override
    {
        end_ = NoEnd;
        try {
            Statement(Prepare(EndSnapshotSql)).Run();
        } catch (...) {
            // What only read has nothing to lose.
        }
    }
    void ReadUntil(std::chrono::steady_clock::time_point end) override
    {
        sqlite3_progress_handler(handle_, StepsBetweenLooks, IsLate, this);
        end_ = end;
    }
    void BeginWriting() override { Execute("BEGIN IMMEDIATE"); }
    void CommitWriting() override { Execute("COMMIT"); }
    [[nodiscard]] bool IsInTransaction() const override
    {
        return sqlite3_get_autocommit(handle_) == 0;
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr auto NoEnd = Clock::time_point::max();
    /// Of its machine; some twenty of them take a microsecond.
    static constexpr int StepsBetweenLooks = 500;

    static int IsLate(void* self)
    {
        return Clock::now() >= static_cast<SqliteConnection*>(self)->end_ ? 1 : 0;
    }

    sqlite3* handle_ = nullptr;
    int wait_ = 0;
    Clock::time_point end_ = NoEnd;
    std::map<const char*, std::unique_ptr<SqliteStatement>> statements_;
};

/// Made here first: SQLite would make it readable for everybody, and its side files copy its mode.
void MakePrivate(const std::string& path)
{
    const auto place = IO::Location::FromPath(OV::FromUtf8(path));
    if (!IO::File::CreatePrivate(place) && IO::File::IsReadableByOthers(place))
        OV::Logger::Warning("nexar-server",
                            u"Others may read the store \"%\" with its password hashes and mails; "
                            u"\"chmod 600\" it.",
                            {path});
}

class SqliteStore final : public Database {
public:
    explicit SqliteStore(const std::string& path) : path_(path)
    {
        MakePrivate(path);
        auto connection = std::make_unique<SqliteConnection>(path, OpeningMilliseconds);
        SqliteConnection& made = *connection;
        first_ = std::move(connection);
        EnterWalMode();
        made.Execute("PRAGMA synchronous = FULL");
        made.Execute("PRAGMA foreign_keys = ON");
        // What a savepoint would undo: each request has one, and half of all writes were to such
        // files.
        made.Execute("PRAGMA temp_store = MEMORY");
        Migrate();
        made.SetWait(WaitingMilliseconds);
    }
    [[nodiscard]] std::size_t Writers() const override { return 1; }
    void HoldAll() override {}
    [[nodiscard]] bool IsShared() const override { return false; }
    std::unique_ptr<News> MakeNews(const std::string&, News::Heard) override { return nullptr; }
    void SuspendRules() override
    {
        auto query =
            Prepare("SELECT name, sql FROM sqlite_schema WHERE type = 'trigger' /* all */");
        std::string drop;
        for (triggers_.clear(); query.Step(); triggers_ += query.Text(1) + ";\n")
            drop += "DROP TRIGGER " + query.Text(0) + ";";
        query.Again();
        first_->Execute(drop.c_str());
    }
    void ResumeRules() override { first_->Execute(triggers_.c_str()); }
    std::int64_t LastNumber(const std::string& table) override
    {
        auto query = Prepare("SELECT coalesce((SELECT seq FROM sqlite_sequence WHERE name = $1), "
                             "(SELECT max(number) FROM projects), 0) /* all */");
        return query.Bind(1, table).Step() ? query.Number(0) : 0;
    }
    void SetLastNumber(const std::string& table, std::int64_t number) override
    {
        // The projects' numbers follow from the rows.
        if (table == "projects")
            return;
        Prepare("DELETE FROM sqlite_sequence WHERE name = $1 /* all */").Bind(1, table).Run();
        Prepare("INSERT INTO sqlite_sequence (name, seq) VALUES ($1, $2)")
            .Bind(1, table)
            .Bind(2, number)
            .Run();
    }

protected:
    [[nodiscard]] std::unique_ptr<Connection> ConnectReader() override
    {
        auto connection = std::make_unique<SqliteConnection>(path_, WaitingMilliseconds);
        connection->ReadOnly();
        return connection;
    }
    [[nodiscard]] std::unique_ptr<Connection> ConnectWriter() override { return nullptr; }

private:
    /// The change itself waits for nobody, and two that open a new store both make it.
    void EnterWalMode()
    {
        constexpr std::uint32_t pause = 10;
        for (std::uint32_t waited = 0;; waited += pause) {
            try {
                return first_->Execute("PRAGMA journal_mode = WAL");
            } catch (const DatabaseError& error) {
                if (!error.IsUnavailable() || waited >= OpeningMilliseconds)
                    throw;
            }
            OV::Thread::Sleep(pause);
        }
    }
    void Migrate()
    {
        if (Version() == SchemaVersion)
            return;
        // Asked again: whoever held the store until now may have migrated it.
        Transaction transaction(*this);
        const std::int64_t version = Version();
        if (version > SchemaVersion)
            throw DatabaseError("The store was written by a newer nexar-server; use that one.");
        if (version < 0)
            throw DatabaseError("The store is none of nexar-server's: its version is " +
                                std::to_string(version) + ".");
        for (auto step = version; step < SchemaVersion; ++step)
            first_->Execute(SchemaSteps[static_cast<std::size_t>(step)]);
        first_->Execute(("PRAGMA user_version = " + std::to_string(SchemaVersion)).c_str());
        transaction.Commit();
    }
    [[nodiscard]] std::int64_t Version()
    {
        Statement query = Prepare("PRAGMA user_version");
        return query.Step() ? query.Number(0) : 0;
    }

    std::string path_;
    std::string triggers_;  ///< that are suspended
};

}  // namespace

std::unique_ptr<Database> OpenSqliteStore(const std::string& path)
{
    return std::make_unique<SqliteStore>(path);
}

}  // namespace Nexar
