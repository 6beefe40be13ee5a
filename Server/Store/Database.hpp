#pragma once

#include "Store/News.hpp"

#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Nexar {

/// The store refused a statement.
class DatabaseError : public std::runtime_error {
public:
    enum class Kind {
        Broken,       ///< it would refuse it again
        Unavailable,  ///< it may well take it later: somebody holds it, or it has no room, no
                      ///< memory or no answer now
        Undone,       ///< nothing happened of the transaction, which may be tried again at once
    };
    explicit DatabaseError(const std::string& message, Kind kind = Kind::Broken)
        : std::runtime_error(message), kind_(kind)
    {}
    [[nodiscard]] bool IsUnavailable() const noexcept { return kind_ != Kind::Broken; }
    [[nodiscard]] bool IsUndone() const noexcept { return kind_ == Kind::Undone; }

private:
    Kind kind_;
};

/// A statement of one connection, as its dialect runs it; see Statement.
class PreparedStatement {
public:
    virtual ~PreparedStatement() = default;
    virtual void Bind(int position, std::string_view text) = 0;
    virtual void Bind(int position, std::int64_t number) = 0;
    virtual void BindBlob(int position, std::string_view bytes) = 0;
    virtual bool Step() = 0;
    virtual int Run() = 0;
    virtual void RunLater() = 0;
    virtual void Again() = 0;
    /// Nobody has it on loan any more.
    virtual void Reset() noexcept = 0;
    [[nodiscard]] virtual std::string_view View(int column) const = 0;
    [[nodiscard]] virtual std::int64_t Number(int column) const = 0;
};

/// A prepared statement on loan: bind by position from 1, step, read columns from 0. Reset when it
/// goes.
class Statement {
public:
    explicit Statement(PreparedStatement& prepared) : prepared_(prepared) {}
    ~Statement() { prepared_.Reset(); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& Bind(int position, std::string_view text)
    {
        prepared_.Bind(position, text);
        return *this;
    }
    Statement& Bind(int position, std::int64_t number)
    {
        prepared_.Bind(position, number);
        return *this;
    }
    Statement& BindBlob(int position, std::string_view bytes)
    {
        prepared_.BindBlob(position, bytes);
        return *this;
    }
    /// True while there is a row.
    bool Step() { return prepared_.Step(); }
    /// Runs a statement whose rows nobody reads (any more); returns how many rows it changed.
    int Run() { return prepared_.Run(); }
    /// Runs a statement without rows whose count nobody asks for, and makes it ready to run once
    /// more. A failure may be told by a later statement, or by the commit.
    void RunLater() { prepared_.RunLater(); }
    /// Makes it ready to run once more; what is bound stays bound.
    void Again() { prepared_.Again(); }

    [[nodiscard]] std::string Text(int column) const { return std::string(View(column)); }
    /// The same without a copy; good until the next step.
    [[nodiscard]] std::string_view View(int column) const { return prepared_.View(column); }
    [[nodiscard]] std::int64_t Number(int column) const { return prepared_.Number(column); }

private:
    PreparedStatement& prepared_;
};

/// A connection to the store, of one thread at a time; see Database.
class Connection {
public:
    virtual ~Connection() = default;
    [[nodiscard]] virtual PreparedStatement& Prepare(const char* sql) = 0;
    virtual void Execute(const char* sql) = 0;
    virtual void BeginReading() = 0;
    virtual void EndReading() noexcept = 0;
    /// What is still being read then fails, until EndReading. One that asks another process reads
    /// on.
    virtual void ReadUntil(std::chrono::steady_clock::time_point) {}
    virtual void BeginWriting() = 0;
    virtual void CommitWriting() = 0;
    [[nodiscard]] virtual bool IsInTransaction() const = 0;
};

/// The store, with the statements of all services. They are written once, in what SQLite and
/// PostgreSQL have in common: parameters are $1, $2; letter case is compared by lower(); a join
/// whose order matters is a CROSS JOIN; the rest that differs stands in Store/Sqlite and
/// Store/Postgres. Comments in a statement tell what else there is to know of it:
///   /* all */       it means to walk through a whole table, or one that stays small
///   /* by parts */  who reads its rows may end early: they are not fetched at once
///   /* hold p */    who writes keeps the rows of p as they are until his transaction ends
///
/// Each thread uses a connection of its own: that of a Reader or Writer which lives on it, or else
/// the first one, which one thread at a time may use. Other processes may read and write the store
/// meanwhile.
class Database {
public:
    virtual ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// A connection for the thread that made it, while it lives.
    class OwnConnection {
    public:
        ~OwnConnection();
        OwnConnection(const OwnConnection&) = delete;
        OwnConnection& operator=(const OwnConnection&) = delete;

    protected:
        explicit OwnConnection(std::unique_ptr<Connection> connection);

        std::unique_ptr<Connection> connection_;
    };
    /// One that only reads.
    class Reader : public OwnConnection {
    public:
        explicit Reader(Database& database) : OwnConnection(database.ConnectReader()) {}
        /// From then on what it reads fails, while the Snapshot lives; not of a store in another
        /// process.
        void ReadUntil(std::chrono::steady_clock::time_point end) { connection_->ReadUntil(end); }
    };
    class Writer : public OwnConnection {
    public:
        explicit Writer(Database& database) : OwnConnection(database.ConnectWriter()) {}
    };
    /// While it lives, the calling thread reads one state of the store.
    class Snapshot {
    public:
        explicit Snapshot(Database& database);
        ~Snapshot();
        Snapshot(const Snapshot&) = delete;
        Snapshot& operator=(const Snapshot&) = delete;

    private:
        Connection& connection_;
    };

    /// The statement, prepared once; `sql` must be a literal, or stay where it is. Not to be asked
    /// for while on loan.
    [[nodiscard]] Statement Prepare(const char* sql) { return Statement(Here().Prepare(sql)); }
    [[nodiscard]] bool IsInTransaction() const { return Here().IsInTransaction(); }
    /// How many threads may write at once; a single one writes for several requests in one commit.
    [[nodiscard]] virtual std::size_t Writers() const = 0;
    /// Whether several processes may serve it at once.
    [[nodiscard]] virtual bool IsShared() const = 0;
    /// Of who writes: until his transaction ends he is the only one of those who call this, for
    /// rules that are about more than what a statement holds.
    virtual void HoldAll() = 0;

    /// How processes that share the store tell each other; none of a store that one process has.
    [[nodiscard]] virtual std::unique_ptr<News> MakeNews(const std::string& topic,
                                                         News::Heard heard) = 0;

    /// For a copy of a whole store, within a transaction: no trigger adds or counts anything until
    /// ResumeRules; rows go in as they are.
    virtual void SuspendRules() = 0;
    virtual void ResumeRules() = 0;
    /// The last number that a table gave a row, and what it takes for that from now on.
    [[nodiscard]] virtual std::int64_t LastNumber(const std::string& table) = 0;
    virtual void SetLastNumber(const std::string& table, std::int64_t number) = 0;

protected:
    Database() = default;
    [[nodiscard]] virtual std::unique_ptr<Connection> ConnectReader() = 0;
    /// None when the one that writes has the first connection.
    [[nodiscard]] virtual std::unique_ptr<Connection> ConnectWriter() = 0;
    [[nodiscard]] Connection& Here() const;

    std::unique_ptr<Connection> first_;

private:
    friend class Transaction;
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
    Connection& connection_;
    bool isOuter_;
    bool done_ = false;
};

}  // namespace Nexar
