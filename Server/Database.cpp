#include "Database.hpp"

#include "IO/File.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "Schema.hpp"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>

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
    throw DatabaseError(std::string(what) + ": " + reason + ".", IsPassing(code & 0xFF));
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
        sqlite3_vfs copy = *sqlite3_vfs_find(nullptr);
        copy.zName = "nexar";
        copy.xSleep = SleepWhileAllowed;
        return copy;
    }();
    static const int registered = sqlite3_vfs_register(&files, 0);
    return registered == SQLITE_OK ? files.zName : nullptr;
}

}  // namespace

Statement::~Statement()
{
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

Statement& Statement::Bind(int position, std::string_view text)
{
    if (sqlite3_bind_text64(statement_, position, text.data(), text.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8) != SQLITE_OK)
        Fail(database_, "Cannot bind a text");
    return *this;
}

Statement& Statement::Bind(int position, std::int64_t number)
{
    if (sqlite3_bind_int64(statement_, position, number) != SQLITE_OK)
        Fail(database_, "Cannot bind a number");
    return *this;
}

Statement& Statement::BindBlob(int position, std::string_view bytes)
{
    if (sqlite3_bind_blob64(statement_, position, bytes.data(), bytes.size(), SQLITE_TRANSIENT) !=
        SQLITE_OK)
        Fail(database_, "Cannot bind data");
    return *this;
}

bool Statement::Step()
{
    const int result = sqlite3_step(statement_);
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        Fail(database_, "The store refused a statement");
    return result == SQLITE_ROW;
}

int Statement::Run()
{
    Step();
    return sqlite3_changes(database_);
}

void Statement::Again()
{
    sqlite3_reset(statement_);
}

std::string Statement::Text(int column) const
{
    return std::string(View(column));
}

std::string_view Statement::View(int column) const
{
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return bytes != nullptr ? std::string_view(bytes, size) : std::string_view();
}

std::int64_t Statement::Number(int column) const
{
    return sqlite3_column_int64(statement_, column);
}

struct Connection {
    Connection(const std::string& path, int waitMilliseconds)
    {
        const int result =
            sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                            FilesWithShortSleep());
        try {
            if (result != SQLITE_OK)
                Fail(handle, ("Cannot open the store \"" + path + "\"").c_str());
            SetWait(waitMilliseconds);
        } catch (...) {
            sqlite3_close(handle);
            throw;
        }
    }
    ~Connection()
    {
        // SQLite does not close, and leaks, while a statement is open.
        for (const auto& [sql, statement] : statements)
            sqlite3_finalize(statement);
        // The last connection that closes writes the log back into the file.
        sqlite3_close(handle);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void SetWait(int milliseconds)
    {
        wait = milliseconds;
        sqlite3_busy_timeout(handle, wait);
    }

    sqlite3* handle = nullptr;
    int wait = 0;
    std::map<const char*, sqlite3_stmt*> statements;
};

namespace {

thread_local Connection* connectionOfThread = nullptr;

constexpr const char* BeginReading = "BEGIN";
constexpr const char* EndReading = "COMMIT";

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

}  // namespace

Database::Database(const std::string& path) : path_(path)
{
    MakePrivate(path);
    first_ = std::make_unique<Connection>(path, OpeningMilliseconds);
    EnterWalMode();
    Execute("PRAGMA synchronous = FULL");
    Execute("PRAGMA foreign_keys = ON");
    Migrate();
    first_->SetWait(WaitingMilliseconds);
}

Database::~Database() = default;

Database::Reader::Reader(Database& database)
    : connection_(std::make_unique<Connection>(database.path_, WaitingMilliseconds))
{
    connectionOfThread = connection_.get();
    try {
        database.Execute("PRAGMA query_only = ON");
        // The end of a snapshot must not be the first to need memory for its statement.
        (void)database.Prepare(EndReading);
    } catch (...) {
        connectionOfThread = nullptr;
        throw;
    }
}

Database::Reader::~Reader()
{
    connectionOfThread = nullptr;
}

Database::Snapshot::Snapshot(Database& database) : database_(database)
{
    database_.Prepare(BeginReading).Run();
}

Database::Snapshot::~Snapshot()
{
    try {
        database_.Prepare(EndReading).Run();
    } catch (...) {
        // What only read has nothing to lose.
    }
}

Connection& Database::Here() const
{
    return connectionOfThread != nullptr ? *connectionOfThread : *first_;
}

/// The change itself waits for nobody, and two that open a new store both make it.
void Database::EnterWalMode()
{
    constexpr std::uint32_t pause = 10;
    for (std::uint32_t waited = 0;; waited += pause) {
        try {
            return Execute("PRAGMA journal_mode = WAL");
        } catch (const DatabaseError& error) {
            if (!error.IsUnavailable() || waited >= OpeningMilliseconds)
                throw;
        }
        OV::Thread::Sleep(pause);
    }
}

namespace {

#ifndef NDEBUG
/// A statement that walks through a table costs each request what concerns none, and shows it only
/// when the table is large. One that means to, or whose table stays small, says so in a comment.
void RefuseToWalk(sqlite3* handle, const std::string& sql)
{
    if (sql.find("/* all */") != std::string::npos)
        return;
    sqlite3_stmt* plan = nullptr;
    sqlite3_prepare_v2(handle, ("EXPLAIN QUERY PLAN " + sql).c_str(), -1, &plan, nullptr);
    while (plan != nullptr && sqlite3_step(plan) == SQLITE_ROW) {
        constexpr int detail = 3;
        const std::string step = reinterpret_cast<const char*>(sqlite3_column_text(plan, detail));
        const bool isWalk = step.starts_with("SCAN ") && !step.starts_with("SCAN (") &&
                            !step.starts_with("SCAN json_each");
        if (!isWalk)
            continue;
        std::fprintf(stderr, "\"%s\" walks through a table: %s. Give it an index.\n", sql.c_str(),
                     step.c_str());
        std::abort();
    }
    sqlite3_finalize(plan);
}
#endif

}  // namespace

Statement Database::Prepare(const char* sql)
{
    Connection& connection = Here();
    BeginWaiting(connection.wait);
    sqlite3_stmt*& statement = connection.statements[sql];
    if (statement == nullptr) {
        if (sqlite3_prepare_v3(connection.handle, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement,
                               nullptr) != SQLITE_OK)
            Fail(connection.handle, "Cannot prepare a statement");
#ifndef NDEBUG
        RefuseToWalk(connection.handle, sql);
#endif
    }
    return {connection.handle, statement};
}

void Database::Execute(const char* sql)
{
    sqlite3* const handle = Here().handle;
    BeginWaiting(Here().wait);
    if (sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        Fail(handle, "The store refused a statement");
}

bool Database::IsInTransaction() const
{
    return sqlite3_get_autocommit(Here().handle) == 0;
}

std::int64_t Database::LastRowId() const
{
    return sqlite3_last_insert_rowid(Here().handle);
}

void Database::Migrate()
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
        Execute(SchemaSteps[static_cast<std::size_t>(step)]);
    Execute(("PRAGMA user_version = " + std::to_string(SchemaVersion)).c_str());
    transaction.Commit();
}

std::int64_t Database::Version()
{
    Statement query = Prepare("PRAGMA user_version");
    return query.Step() ? query.Number(0) : 0;
}

Transaction::Transaction(Database& database)
    : database_(database), isOuter_(!database.IsInTransaction())
{
    database_.Execute(isOuter_ ? "BEGIN IMMEDIATE" : "SAVEPOINT part");
}

Transaction::~Transaction()
{
    if (done_)
        return;
    try {
        database_.Execute(isOuter_ ? "ROLLBACK" : "ROLLBACK TO part; RELEASE part");
    } catch (...) {
        // SQLite has rolled back by itself already, or there is no memory to say why not.
    }
}

void Transaction::Commit()
{
    database_.Execute(isOuter_ ? "COMMIT" : "RELEASE part");
    done_ = true;
}

}  // namespace Nexar
