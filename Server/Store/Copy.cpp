#include "Store/Copy.hpp"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace Nexar {

namespace {

enum class Type { Text, OptionalText, Number, Decimal, Bytes };

struct Column {
    const char* name;
    Type type = Type::Text;
};

struct Table {
    const char* name;
    const char* order;  ///< columns of its key
    bool isNumbered;    ///< gives its rows numbers
    std::vector<Column> columns;
};

/// What a table refers to stands before it.
const std::vector<Table>& Tables()
{
    using enum Type;
    static const auto& tables = *new std::vector<Table>{
        {"configuration",
         "one",
         false,
         {{"one", Number}, {"server_name"}, {"minimum_password_length", Number}}},
        {"users",
         "id",
         false,
         {{"id"},
          {"login"},
          {"full_name"},
          {"password_hash"},
          {"enabled", Number},
          {"color", Number},
          {"email"},
          {"photo"}}},
        {"photos", "user_id", false, {{"user_id"}, {"type"}, {"data", Bytes}}},
        {"user_groups", "name", false, {{"name"}, {"id"}, {"description"}, {"built_in", Number}}},
        {"user_group_members", "user_id, group_name", false, {{"user_id"}, {"group_name"}}},
        {"permissions", "id", false, {{"id"}, {"name"}, {"description"}, {"built_in", Number}}},
        {"permission_sets", "id", false, {{"id"}, {"name"}, {"description"}}},
        {"permission_set_grants", "set_id, permission_id", false, {{"set_id"}, {"permission_id"}}},
        {"roles",
         "name",
         false,
         {{"name"},
          {"id"},
          {"description"},
          {"permission_set", OptionalText},
          {"built_in", Number}}},
        {"role_grants", "role_id, permission_id", false, {{"role_id"}, {"permission_id"}}},
        {"custom_properties",
         "id",
         false,
         {{"id"}, {"name"}, {"description"}, {"type", Number}, {"choices"}}},
        {"user_properties",
         "user_id, property_id",
         false,
         {{"user_id"}, {"property_id"}, {"value"}}},
        {"project_categories", "id", false, {{"id"}, {"name"}}},
        {"projects",
         "number",
         true,
         {{"number", Number},
          {"id"},
          {"name"},
          {"location"},
          {"category"},
          {"state", Number},
          {"version"},
          {"build", Number},
          {"is_public", Number},
          {"last_mail_time", Number},
          {"last_mail_change", Number},
          {"last_logon_id", Number},
          {"description"},
          {"maximum_backups", Number},
          {"mail_bytes", Number},
          {"last_signal", Number}}},
        {"signals",
         "project_id, sequence",
         false,
         {{"project_id"}, {"sequence", Number}, {"id", Number}, {"audience"}, {"changed"}}},
        {"backup_schedules",
         "id",
         false,
         {{"id"},
          {"project_id"},
          {"frequency", Number},
          {"start_time", Number},
          {"enabled", Number}}},
        {"members",
         "project_id, user_id",
         false,
         {{"project_id"}, {"user_id"}, {"role"}, {"logon_id", Number}, {"mails", Number}}},
        {"sessions", "id", false, {{"id"}, {"project_id"}, {"user_id"}, {"start_time", Number}}},
        {"session_attributes", "session_id, name", false, {{"session_id"}, {"name"}, {"value"}}},
        {"session_ends",
         "session_id",
         false,
         {{"session_id"},
          {"project_id"},
          {"user_id"},
          {"ended_by"},
          {"ended_by_name"},
          {"reason"},
          {"time", Number}}},
        {"mails",
         "number",
         true,
         {{"number", Number},
          {"id"},
          {"project_id"},
          {"time_stamp", Number},
          {"header"},
          {"body"},
          {"size", Number}}},
        {"mail_entries",
         "user_id, project_id, time_stamp, mail",
         false,
         {{"user_id"},
          {"project_id"},
          {"time_stamp", Number},
          {"mail", Number},
          {"is_copy", Number},
          {"is_read", Number},
          {"is_historical", Number},
          {"read_change", Number},
          {"historical_change", Number}}},
        {"mail_keys",
         "project_id, sender_id, key",
         false,
         {{"project_id"}, {"sender_id"}, {"key"}, {"mail_id"}, {"time", Number}}},
        {"modules", "id", false, {{"id"}, {"name"}, {"version"}, {"address"}, {"enabled", Number}}},
        {"events",
         "number",
         true,
         {{"number", Number},
          {"project_id"},
          {"time", Number},
          {"\"user\""},
          {"action"},
          {"size", Number},
          {"comment"},
          {"seconds", Number}}},
        {"performance",
         "number",
         true,
         {{"number", Number}, {"time", Number}, {"key"}, {"value", Decimal}}}};
    return tables;
}

std::string SelectOf(const Table& table)
{
    std::string columns;
    for (const auto& column : table.columns)
        columns += (columns.empty() ? "" : ", ") + std::string(column.name);
    return "SELECT " + columns + " FROM " + table.name + " ORDER BY " + table.order +
           " /* all */ /* by parts */";
}

std::string InsertInto(const Table& table)
{
    std::string columns, values;
    for (const auto& column : table.columns) {
        const auto value = "$" + std::to_string(&column - table.columns.data() + 1);
        columns += (columns.empty() ? "" : ", ") + std::string(column.name);
        values += values.empty() ? "" : ", ";
        values += column.type == Type::OptionalText ? "nullif(" + value + ", '')"
                  : column.type == Type::Decimal    ? "CAST(" + value + " AS DOUBLE PRECISION)"
                                                    : value;
    }
    return std::string("INSERT INTO ") + table.name + " (" + columns + ") VALUES (" + values + ")";
}

/// The digits by which any program reads the same number; each dialect has some of its own.
std::string Canonical(std::string_view decimal)
{
    std::array<char, 40> text{};
    const double value = std::strtod(std::string(decimal).c_str(), nullptr);
    return {text.data(),
            static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "%.17g", value))};
}

/// Of rows as they come. The size of each field goes before it, so that none runs into the next.
class Digest {
public:
    Digest() { crypto_generichash_init(&state_, nullptr, 0, Size); }
    void Add(std::string_view field)
    {
        const std::uint64_t size = field.size();
        crypto_generichash_update(&state_, reinterpret_cast<const unsigned char*>(&size),
                                  sizeof size);
        crypto_generichash_update(&state_, reinterpret_cast<const unsigned char*>(field.data()),
                                  field.size());
    }
    [[nodiscard]] std::string Text()
    {
        std::array<unsigned char, Size> bytes{};
        std::array<char, 2 * Size + 1> digits{};
        crypto_generichash_final(&state_, bytes.data(), bytes.size());
        sodium_bin2hex(digits.data(), digits.size(), bytes.data(), bytes.size());
        return digits.data();
    }

private:
    static constexpr std::size_t Size = 16;
    crypto_generichash_state state_{};
};

/// Adds each row to the digest of the table and gives it to `take`.
template <class Take>
CopiedTable ReadTable(Database& database, const Table& table, const std::string& select,
                      const Take& take)
{
    CopiedTable read{table.name, 0, {}};
    Digest digest;
    auto query = database.Prepare(select.c_str());
    for (; query.Step(); ++read.rows) {
        for (std::size_t i = 0; i < table.columns.size(); ++i) {
            const auto text = query.View(static_cast<int>(i));
            digest.Add(table.columns[i].type == Type::Decimal ? Canonical(text)
                                                              : std::string_view(text));
        }
        take(query);
    }
    read.digest = digest.Text();
    return read;
}

void InsertRow(Statement& insert, const Table& table, const Statement& row)
{
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const auto column = static_cast<int>(i);
        switch (table.columns[i].type) {
        case Type::Number:
            insert.Bind(column + 1, row.Number(column));
            break;
        case Type::Bytes:
            insert.BindBlob(column + 1, row.View(column));
            break;
        case Type::Decimal:
            insert.Bind(column + 1, Canonical(row.View(column)));
            break;
        case Type::Text:
        case Type::OptionalText:
            insert.Bind(column + 1, row.View(column));
            break;
        }
    }
    insert.RunLater();
}

void RequireEmpty(Database& database)
{
    for (const char* sql :
         {"SELECT 1 FROM users LIMIT 1 /* all */", "SELECT 1 FROM projects LIMIT 1 /* all */"})
        if (database.Prepare(sql).Step())
            throw std::runtime_error("The store to copy to is in use already; it stays as it is.");
}

}  // namespace

std::vector<CopiedTable> CopyStore(Database& from, Database& to)
{
    if (sodium_init() < 0)
        throw std::runtime_error("libsodium cannot be started.");
    // Statements are known by the place of their texts.
    static auto& texts = *new std::vector<std::array<std::string, 3>>;
    texts.clear();
    for (const auto& table : Tables())
        texts.push_back({SelectOf(table), InsertInto(table),
                         std::string("DELETE FROM ") + table.name + " /* all */"});
    const Database::Snapshot moment(from);
    Transaction transaction(to);
    to.HoldAll();
    RequireEmpty(to);
    to.SuspendRules();
    for (std::size_t i = texts.size(); i-- > 0;)
        to.Prepare(texts[i][2].c_str()).Run();
    std::vector<CopiedTable> copied;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const Table& table = Tables()[i];
        auto insert = to.Prepare(texts[i][1].c_str());
        copied.push_back(ReadTable(from, table, texts[i][0],
                                   [&](const Statement& row) { InsertRow(insert, table, row); }));
        if (table.isNumbered)
            to.SetLastNumber(table.name, from.LastNumber(table.name));
    }
    to.ResumeRules();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto read =
            ReadTable(to, Tables()[i], texts[i][0], [](const Statement&) { /* counted */ });
        if (read.rows != copied[i].rows || read.digest != copied[i].digest)
            throw std::runtime_error(
                "The copy of \"" + read.name + "\" is not the same: " + std::to_string(read.rows) +
                " rows instead of " + std::to_string(copied[i].rows) + ". Nothing was copied.");
    }
    transaction.Commit();
    return copied;
}

}  // namespace Nexar
