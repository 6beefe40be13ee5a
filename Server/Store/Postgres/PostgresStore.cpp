#include "Store/Postgres/PostgresStore.hpp"

#include "Store/Postgres/PostgresConnection.hpp"
#include "Store/Postgres/PostgresNews.hpp"
#include "Store/Postgres/PostgresSchema.hpp"

#include <algorithm>
#include <utility>

namespace Nexar {

namespace {

using Use = PostgresConnection::Use;

class PostgresStore final : public Database {
public:
    PostgresStore(std::string url, std::size_t writers)
        : url_(std::move(url)), writers_(std::max<std::size_t>(2, writers))
    {
        auto connection = std::make_unique<PostgresConnection>(url_, Use::Writes);
        PostgresConnection& made = *connection;
        first_ = std::move(connection);
        Migrate(made);
    }
    [[nodiscard]] std::size_t Writers() const override { return writers_; }
    [[nodiscard]] bool IsShared() const override { return true; }
    void HoldAll() override { Prepare("SELECT pg_advisory_xact_lock(1852143969)").Step(); }
    std::unique_ptr<News> MakeNews(const std::string& topic, News::Heard heard) override
    {
        return std::make_unique<PostgresNews>(url_, topic, std::move(heard));
    }
    void SuspendRules() override { SetRules("DISABLE"); }
    void ResumeRules() override { SetRules("ENABLE"); }
    std::int64_t LastNumber(const std::string& table) override
    {
        auto query = Prepare("SELECT coalesce(pg_sequence_last_value("
                             "pg_get_serial_sequence($1, 'number')::regclass), 0)");
        return query.Bind(1, table).Step() ? query.Number(0) : 0;
    }
    void SetLastNumber(const std::string& table, std::int64_t number) override
    {
        Prepare("SELECT setval(pg_get_serial_sequence($1, 'number'), max($2, 1), $2 > 0)")
            .Bind(1, table)
            .Bind(2, number)
            .Step();
    }

protected:
    [[nodiscard]] std::unique_ptr<Connection> ConnectReader() override
    {
        return std::make_unique<PostgresConnection>(url_, Use::Reads);
    }
    [[nodiscard]] std::unique_ptr<Connection> ConnectWriter() override
    {
        return std::make_unique<PostgresConnection>(url_, Use::Writes);
    }

private:
    void SetRules(const std::string& what)
    {
        auto query = Prepare("SELECT DISTINCT tgrelid::regclass::text FROM pg_trigger "
                             "WHERE NOT tgisinternal AND tgrelid IN (SELECT oid FROM pg_class "
                             "WHERE relnamespace = current_schema()::regnamespace)");
        while (query.Step())
            first_->Execute(
                ("ALTER TABLE " + query.Text(0) + " " + what + " TRIGGER USER").c_str());
    }
    void Migrate(PostgresConnection& connection)
    {
        if (Version() == SchemaVersion)
            return;
        Transaction transaction(*this);
        connection.ExecuteScript("SET LOCAL lock_timeout = '5min'");
        HoldAll();
        // Asked again: whoever was first has migrated it.
        const std::int64_t version = Version();
        if (version > SchemaVersion)
            throw DatabaseError("The store was written by a newer nexar-server; use that one.");
        for (std::int64_t step = std::max(version + 1, FirstPostgresVersion); step <= SchemaVersion;
             ++step)
            connection.ExecuteScript(
                PostgresSteps[static_cast<std::size_t>(step - FirstPostgresVersion)]);
        Prepare("UPDATE store SET version = $1").Bind(1, SchemaVersion).Run();
        transaction.Commit();
    }
    /// 0 of an empty database.
    [[nodiscard]] std::int64_t Version()
    {
        // Asked of the table of tables: a name that was not there once is remembered as missing
        // within a transaction, also when another process has made it meanwhile.
        if (!Prepare("SELECT 1 FROM pg_class WHERE relname = 'store' "
                     "AND relnamespace = current_schema()::regnamespace")
                 .Step())
            return 0;
        Statement query = Prepare("SELECT version FROM store");
        return query.Step() ? query.Number(0) : 0;
    }

    std::string url_;
    std::size_t writers_;
};

}  // namespace

std::unique_ptr<Database> OpenPostgresStore(const std::string& url, std::size_t writers)
{
    return std::make_unique<PostgresStore>(url, writers);
}

}  // namespace Nexar
