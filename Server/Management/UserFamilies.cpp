#include "Management/Family.hpp"
#include "Management/JsonColumn.hpp"
#include "Management/RecordStore.hpp"
#include "Management/Rules.hpp"

namespace Nexar {

using namespace Records;
using OV::FromUtf8;
using OV::ToUtf8;

// Custom properties

const char* const Family<CustomPropertyDefinition>::select =
    "SELECT id, name, description, type, choices FROM custom_properties";
const char* const Family<CustomPropertyDefinition>::nameColumn = "name";
const char* const Family<CustomPropertyDefinition>::order = "lower(name)";
const char* const Family<CustomPropertyDefinition>::taken =
    "SELECT 1 FROM custom_properties WHERE lower(name) = lower($1) AND id <> $2";
const char* const Family<CustomPropertyDefinition>::remove =
    "DELETE FROM custom_properties WHERE id = $1";
const char* const Family<CustomPropertyDefinition>::inUse =
    "SELECT 1 FROM user_properties WHERE property_id = $1";
const char* const Family<CustomPropertyDefinition>::projects = nullptr;

CustomPropertyDefinition Family<CustomPropertyDefinition>::Read(const Statement& row)
{
    return {FromUtf8(row.Text(0)), FromUtf8(row.Text(1)), FromUtf8(row.Text(2)),
            static_cast<CustomPropertyDefinition::Type>(row.Number(3)),
            ReadColumn<TextList>(row.View(4))};
}

void Family<CustomPropertyDefinition>::Check(Database& database,
                                             const CustomPropertyDefinition& definition)
{
    Rules::CheckDefinition(definition);
    auto values = database.Prepare("SELECT value FROM user_properties WHERE property_id = $1");
    values.Bind(1, ToUtf8(definition.id));
    while (values.Step())
        if (!Rules::IsValueOf(definition, OV::UnescapeFromCarrier(FromUtf8(values.Text(0)))))
            throw Refusal(Syncra::Protocol::ErrorCode::ObjectInUse,
                          "A user has the value \"" + values.Text(0) +
                              "\", which this would not allow. Change it first.");
}

void Family<CustomPropertyDefinition>::Write(Database& database,
                                             const CustomPropertyDefinition& definition)
{
    database
        .Prepare("INSERT INTO custom_properties (id, name, description, type, choices) "
                 "VALUES ($1, $2, $3, $4, $5) ON CONFLICT (id) DO UPDATE SET name = excluded.name, "
                 "description = excluded.description, type = excluded.type, "
                 "choices = excluded.choices")
        .Bind(1, ToUtf8(definition.id))
        .Bind(2, ToUtf8(definition.name))
        .Bind(3, ToUtf8(definition.description))
        .Bind(4, static_cast<std::int64_t>(definition.type))
        .Bind(5, Syncra::Protocol::WriteJson(definition.choices))
        .Run();
}

// Users

const char* const Family<User>::select =
    "SELECT id, login, full_name, email, enabled, color, "
    "(SELECT json_group_array(property_id || ' ' || value) FROM user_properties "
    "WHERE user_id = u.id), "
    "(SELECT json_group_array(g.id) FROM user_group_members m "
    "JOIN user_groups g ON g.name = m.group_name WHERE m.user_id = u.id) FROM users u";
const char* const Family<User>::nameColumn = "full_name";
const char* const Family<User>::order = "login";
const char* const Family<User>::taken =
    "SELECT 1 FROM users WHERE lower(login) = lower($1) AND id <> $2";
const char* const Family<User>::remove = "DELETE FROM users WHERE id = $1";
const char* const Family<User>::inUse = nullptr;
const char* const Family<User>::projects = "SELECT project_id FROM members WHERE user_id = $1";

User Family<User>::Read(const Statement& row)
{
    decltype(User::properties) properties;
    for (OV::UniStringView text : ReadColumn<TextList>(row.View(6))) {
        const auto id = TakeWord(text);
        properties[id] = text;
    }
    return {FromUtf8(row.Text(0)), FromUtf8(row.Text(1)),
            FromUtf8(row.Text(2)), FromUtf8(row.Text(3)),
            row.Number(4) != 0,    static_cast<std::uint32_t>(row.Number(5)) & 0xFFFFFF,
            std::move(properties), ReadColumn<IdSet>(row.View(7))};
}

void Family<User>::Check(Database& database, const User& user)
{
    Rules::CheckLoginName(user.loginName);
    Rules::CheckName(user.fullName, "full name");
    Rules::CheckEmail(user.email);
    RecordStore<CustomPropertyDefinition> definitions(database);
    for (const auto& [id, value] : user.properties) {
        const auto definition = definitions.Find(ToUtf8(id));
        if (!definition)
            Rules::Break("There is no custom property \"" + ToUtf8(id) + "\".");
        if (!Rules::IsValueOf(*definition, value))
            Rules::Break("The custom property \"" + ToUtf8(definition->name) +
                         "\" does not allow this value.");
    }
}

void Family<User>::Write(Database& database, const User& user)
{
    const auto id = ToUtf8(user.id);
    database
        .Prepare("INSERT INTO users (id, login, full_name, password_hash, enabled, color, email) "
                 "VALUES ($1, $2, $3, '', $4, $5, $6) ON CONFLICT (id) DO UPDATE SET "
                 "login = excluded.login, full_name = excluded.full_name, "
                 "enabled = excluded.enabled, color = excluded.color, email = excluded.email")
        .Bind(1, id)
        .Bind(2, ToUtf8(user.loginName))
        .Bind(3, ToUtf8(user.fullName))
        .Bind(4, std::int64_t{user.enabled})
        .Bind(5, std::int64_t{user.color})
        .Bind(6, ToUtf8(user.email))
        .Run();
    database.Prepare("DELETE FROM user_properties WHERE user_id = $1").Bind(1, id).Run();
    for (const auto& [property, value] : user.properties)
        database
            .Prepare("INSERT INTO user_properties (user_id, property_id, value) "
                     "VALUES ($1, $2, $3)")
            .Bind(1, id)
            .Bind(2, ToUtf8(property))
            .Bind(3, ToUtf8(OV::EscapeForCarrier(value)))
            .Run();
}

}  // namespace Nexar
