#include "Store/Database.hpp"

#include <utility>

namespace Nexar {

namespace {

thread_local Connection* connectionOfThread = nullptr;

}  // namespace

Database::~Database() = default;

Database::OwnConnection::OwnConnection(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection))
{
    connectionOfThread = connection_.get();
}

Database::OwnConnection::~OwnConnection()
{
    connectionOfThread = nullptr;
}

Database::Snapshot::Snapshot(Database& database) : connection_(database.Here())
{
    connection_.BeginReading();
}

Database::Snapshot::~Snapshot()
{
    connection_.EndReading();
}

Connection& Database::Here() const
{
    return connectionOfThread != nullptr ? *connectionOfThread : *first_;
}

Transaction::Transaction(Database& database)
    : connection_(database.Here()), isOuter_(!connection_.IsInTransaction())
{
    if (isOuter_)
        connection_.BeginWriting();
    else
        connection_.Execute("SAVEPOINT part");
}

Transaction::~Transaction()
{
    if (done_)
        return;
    try {
        connection_.Execute(isOuter_ ? "ROLLBACK" : "ROLLBACK TO part; RELEASE part");
    } catch (...) {
        // The store has rolled back by itself already, or there is no memory to say why not.
    }
}

void Transaction::Commit()
{
    if (isOuter_)
        connection_.CommitWriting();
    else
        connection_.Execute("RELEASE part");
    done_ = true;
}

}  // namespace Nexar
