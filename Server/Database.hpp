#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace Nexar {

/// The store refused a statement.
class DatabaseError : public std::runtime_error {
public:
    explicit DatabaseError(const std::string& message, bool isUnavailable = false)
        : std::runtime_error(message), isUnavailable_(isUnavailable)
    {}
    /// Whether it may well take the same statement later: another process holds it, or there is no
    /// room, no memory or no answer from the disk now.
    [[nodiscard]] bool IsUnavailable() const noexcept { return isUnavailable_; }

private:
    bool isUnavailable_;
};

/// A prepared statement on loan: bind by position from 1, step, read columns from 0. Reset when it
/// goes.
class Statement {
public:
    Statement(sqlite3* database, sqlite3_stmt* statement)
        : database_(database), statement_(statement)
    {}
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& Bind(int position, std::string_view text);
    Statement& Bind(int position, std::int64_t number);
    Statement& BindBlob(int position, std::string_view bytes);
    /// True while there is a row.
    bool Step();
    /// Runs a statement without rows; returns how many rows it changed.
    int Run();
    /// Makes it ready to run once more; what is bound stays bound.
    void Again();

    [[nodiscard]] std::string Text(int column) const;
    /// The same without a copy; good until the next step.
    [[nodiscard]] std::string_view View(int column) const;
    [[nodiscard]] std::int64_t Number(int column) const;

private:
    sqlite3* database_;
    sqlite3_stmt* statement_;
};

/// One SQLite file in WAL mode. Each thread uses a connection of its own: that of a Reader which
/// lives on it, or else the first one, which one thread at a time may use. Other processes may read
/// and write the file meanwhile.
class Database {
public:
    /// Opens or creates the file, readable by its user alone, and brings its tables up to date.
    explicit Database(const std::string& path);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// A connection that only reads, for the thread that made it, while it lives.
    class Reader {
    public:
        explicit Reader(Database& database);
        ~Reader();
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;

    private:
        std::unique_ptr<struct Connection> connection_;
    };
    /// While it lives, the calling thread reads one state of the store.
    class Snapshot {
    public:
        explicit Snapshot(Database& database);
        ~Snapshot();
        Snapshot(const Snapshot&) = delete;
        Snapshot& operator=(const Snapshot&) = delete;

    private:
        Database& database_;
    };

    /// The statement, prepared once; `sql` must be a literal, or stay where it is. Not to be asked
    /// for while on loan.
    [[nodiscard]] Statement Prepare(const char* sql);
    void Execute(const char* sql);
    [[nodiscard]] std::int64_t LastRowId() const;
    [[nodiscard]] bool IsInTransaction() const;

private:
    [[nodiscard]] struct Connection& Here() const;
    void EnterWalMode();
    void Migrate();
    [[nodiscard]] std::int64_t Version();

    std::string path_;
    std::unique_ptr<struct Connection> first_;
};

/// Everything until Commit happens or nothing. One within another is a part of it.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

private:
    Database& database_;
    bool isOuter_;
    bool done_ = false;
};

}  // namespace Nexar
