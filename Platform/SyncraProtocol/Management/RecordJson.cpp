#include "SyncraProtocol/Detail/RecordJson.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <concepts>
#include <limits>

namespace Syncra::Server::Management {

using nlohmann::json;

namespace {

/// A record to be written or to be filled.
template <class T, class Record>
concept Either = std::same_as<std::remove_const_t<T>, Record>;

// The fields of every record, told once for both directions.

template <class Field>
void Describe(Field& field, Either<User> auto& user)
{
    field("id", user.id);
    field("loginName", user.loginName);
    field("fullName", user.fullName);
    field("email", user.email);
    field("enabled", user.enabled);
    field("color", user.color, 0xFFFFFF);
    field("properties", user.properties);
    field("groups", user.groups);
}

template <class Field>
void Describe(Field& field, Either<Role> auto& role)
{
    field("id", role.id);
    field("name", role.name);
    field("description", role.description);
    field("permissions", role.permissions);
    field("permissionSet", role.permissionSet);
    field("builtIn", role.builtIn);
}

template <class Field>
void Describe(Field& field, Either<Group> auto& group)
{
    field("id", group.id);
    field("name", group.name);
    field("description", group.description);
    field("users", group.users);
    field("builtIn", group.builtIn);
}

template <class Field>
void Describe(Field& field, Either<Permission> auto& permission)
{
    field("id", permission.id);
    field("name", permission.name);
    field("description", permission.description);
    field("builtIn", permission.builtIn);
}

template <class Field>
void Describe(Field& field, Either<PermissionSet> auto& set)
{
    field("id", set.id);
    field("name", set.name);
    field("description", set.description);
    field("permissions", set.permissions);
}

template <class Field>
void Describe(Field& field, Either<CustomPropertyDefinition> auto& definition)
{
    field("id", definition.id);
    field("name", definition.name);
    field("description", definition.description);
    field("type", definition.type, 1, 4);
    field("choices", definition.choices);
}

template <class Field>
void Describe(Field& field, Either<ProjectCategory> auto& category)
{
    field("id", category.id);
    field("name", category.name);
}

template <class Field>
void Describe(Field& field, Either<ConnectedModule> auto& module)
{
    field("id", module.id);
    field("name", module.name);
    field("version", module.version);
    field("address", module.address);
    field("enabled", module.enabled);
}

template <class Field>
void Describe(Field& field, Either<ServerConfiguration> auto& configuration)
{
    field("serverName", configuration.serverName);
    field("minimumPasswordLength", configuration.minimumPasswordLength, 1, 64);
}

template <class Field>
void Describe(Field& field, Either<V1::ProjectMember> auto& member)
{
    field("user", member.id);
    field("role", member.roleId);
}

template <class Field>
void Describe(Field& field, Either<V1::ProjectBackupSchedule> auto& schedule)
{
    using Seconds = std::numeric_limits<std::int32_t>;
    field("id", schedule.id);
    field("frequency", schedule.frequency, 0, 3);
    field("startTime", schedule.startTime, Seconds::min(), Seconds::max());
    field("enabled", schedule.enabled);
}

template <class Field>
void Describe(Field& field, Either<V2::Project> auto& project)
{
    using Code = std::numeric_limits<std::int32_t>;
    field("id", project.id);
    field("name", project.name);
    field("description", project.description);
    field("category", project.status.category);
    field("state", project.status.state, Code::min(), Code::max());
    field("location", project.location);
    field("version", project.version);
    field("members", project.members);
    field("backupSchedules", project.backupSchedules);
    field("maximumBackups", project.maxBackupCounter, std::numeric_limits<std::uint32_t>::max());
}

template <class Field>
void Describe(Field& field, Either<RepositoryContents> auto& contents)
{
    field("permissions", contents.permissions);
    field("permissionSets", contents.permissionSets);
    field("roles", contents.roles);
    field("customProperties", contents.customProperties);
}

using Texts = OV::HashTable<OV::UniString, OV::UniString>;

template <class Number>
concept NumberOrCode = std::integral<Number> || std::is_enum_v<Number>;

class Writer {
public:
    void operator()(const char* key, const OV::UniString& text)
    {
        Put(key, Protocol::TextToJson(text));
    }
    void operator()(const char* key, bool value) { Put(key, value); }
    void operator()(const char* key, NumberOrCode auto number, std::int64_t, std::int64_t)
    {
        Put(key, static_cast<std::int64_t>(number));
    }
    void operator()(const char* key, std::uint32_t number, std::int64_t) { Put(key, number); }
    void operator()(const char* key, const Texts& texts)
    {
        json table = json::object();
        for (const auto& [name, text] : texts)
            table[OV::ToUtf8(OV::EscapeForCarrier(name))] = Protocol::TextToJson(text);
        Put(key, std::move(table));
    }
    template <template <class...> class List, class Item, class... Rest>
    void operator()(const char* key, const List<Item, Rest...>& items)
    {
        json array = json::array();
        for (const auto& item : items)
            array.push_back(ItemOf(item));
        // Equal sets make equal texts.
        if constexpr (std::same_as<List<Item, Rest...>, OV::HashSet<Item>>)
            std::sort(array.begin(), array.end());
        Put(key, std::move(array));
    }

    template <class Record>
    static json ObjectOf(const Record& record)
    {
        Writer writer;
        Describe(writer, record);
        return std::move(writer.object_);
    }

private:
    void Put(const char* key, json value) { object_[key] = std::move(value); }
    static json ItemOf(const OV::UniString& text) { return Protocol::TextToJson(text); }
    template <class Record>
    static json ItemOf(const Record& record)
    {
        return ObjectOf(record);
    }

    json object_ = json::object();
};

class Reader {
public:
    explicit Reader(const json& object) : object_(object) {}

    void operator()(const char* key, OV::UniString& text)
    {
        text = Protocol::ReadText(object_, key);
    }
    void operator()(const char* key, bool& value) { value = Protocol::ReadBool(object_, key); }
    template <NumberOrCode Number>
    void operator()(const char* key, Number& number, std::int64_t least, std::int64_t most)
    {
        number = static_cast<Number>(Protocol::ReadInteger(object_, key, least, most));
    }
    void operator()(const char* key, std::uint32_t& number, std::int64_t most)
    {
        (*this)(key, number, 0, most);
    }
    void operator()(const char* key, Texts& texts)
    {
        const auto found = object_.find(key);
        if (found == object_.end() || !found->is_object())
            throw Protocol::MalformedRecordException("Field \"" + OV::String(key) +
                                                     "\" is not an object.");
        for (const auto& [name, text] : found->items())
            texts.insert_or_assign(OV::UnescapeFromCarrier(OV::FromUtf8(name)),
                                   Protocol::TextFromJson(text));
    }
    template <template <class...> class List, class Item, class... Rest>
    void operator()(const char* key, List<Item, Rest...>& items)
    {
        for (const json& item : Protocol::ReadArray(object_, key))
            items.insert(items.end(), ItemOf<Item>(item));
    }

    template <class Record>
    static Record RecordOf(const json& object)
    {
        Record record;
        Reader reader(object);
        Describe(reader, record);
        return record;
    }

private:
    template <class Item>
    static Item ItemOf(const json& item)
    {
        if constexpr (std::same_as<Item, OV::UniString>)
            return Protocol::TextFromJson(item);
        else
            return RecordOf<Item>(item);
    }

    const json& object_;
};

}  // namespace

// Both forms of a record; here, where the descriptions are in sight.
#define SYC_RECORD_JSON(Record)                                                                    \
    namespace Syncra::Server::Management {                                                         \
    json ToJson(const Record& record)                                                              \
    {                                                                                              \
        return Writer::ObjectOf(record);                                                           \
    }                                                                                              \
    }                                                                                              \
    template <>                                                                                    \
    Syncra::Server::Management::Record                                                             \
    Syncra::Protocol::FromJson<Syncra::Server::Management::Record>(const nlohmann::json& value)    \
    {                                                                                              \
        using namespace Syncra::Server::Management;                                                \
        return Reader::RecordOf<Record>(value);                                                    \
    }

}  // namespace Syncra::Server::Management

SYC_RECORD_JSON(User)
SYC_RECORD_JSON(Role)
SYC_RECORD_JSON(Group)
SYC_RECORD_JSON(Permission)
SYC_RECORD_JSON(PermissionSet)
SYC_RECORD_JSON(CustomPropertyDefinition)
SYC_RECORD_JSON(V2::Project)
SYC_RECORD_JSON(ProjectCategory)
SYC_RECORD_JSON(ConnectedModule)
SYC_RECORD_JSON(ServerConfiguration)
SYC_RECORD_JSON(RepositoryContents)
