#pragma once

#include "Management/Family.hpp"
#include "Refusal.hpp"

#include <optional>
#include <string>
#include <vector>

namespace Nexar {

/// What goes into lists and may not be given twice: of a user his login name.
template <class Record>
[[nodiscard]] const OV::UniString& NameOf(const Record& record)
{
    if constexpr (requires { record.loginName; })
        return record.loginName;
    else
        return record.name;
}

/// The records of one kind in the store. Whoever writes wraps it in a transaction.
template <class Record>
class RecordStore {
public:
    explicit RecordStore(Database& database) : database_(database) {}

    [[nodiscard]] std::vector<Record> List()
    {
        static const std::string all = Family<Record>::select + InOrder() + " /* all */";
        return Read(database_.Prepare(all.c_str()));
    }
    /// So many whose ids follow one.
    [[nodiscard]] std::vector<Record> Part(const std::string& after, std::int64_t count)
    {
        static const std::string part =
            std::string(Family<Record>::select) + " WHERE id > $1 ORDER BY id LIMIT $2";
        auto query = database_.Prepare(part.c_str());
        return Read(query.Bind(1, after).Bind(2, count));
    }
    [[nodiscard]] std::vector<Record> Named(const std::string& name)
    {
        static const std::string named = std::string(Family<Record>::select) + " WHERE lower(" +
                                         Family<Record>::nameColumn + ") = lower($1)" + InOrder();
        auto query = database_.Prepare(named.c_str());
        return Read(query.Bind(1, name));
    }
    [[nodiscard]] std::optional<Record> Find(const std::string& id)
    {
        static const std::string one = std::string(Family<Record>::select) + " WHERE id = $1";
        auto query = database_.Prepare(one.c_str());
        auto found = Read(query.Bind(1, id));
        return found.empty() ? std::nullopt : std::optional(std::move(found.front()));
    }
    [[nodiscard]] Record Require(const std::string& id)
    {
        auto found = Find(id);
        if (!found)
            Refuse(Syncra::Protocol::ErrorCode::NotFound,
                   "There is no such " + Noun() + "; it may have been deleted.");
        return *std::move(found);
    }

    /// Inserts, or replaces the record of that id. Throws Refusal for a broken rule and a name that
    /// is taken.
    void Write(const Record& record)
    {
        Family<Record>::Check(database_, record);
        const auto name = OV::ToUtf8(NameOf(record));
        if (database_.Prepare(Family<Record>::taken)
                .Bind(1, name)
                .Bind(2, OV::ToUtf8(record.id))
                .Step())
            Refuse(Syncra::Protocol::ErrorCode::NameAlreadyExists,
                   "There is a " + Noun() + " \"" + name + "\" already.");
        Family<Record>::Write(database_, record);
    }
    /// Throws Refusal while something refers to it.
    void Delete(const std::string& id)
    {
        if (Family<Record>::inUse != nullptr &&
            database_.Prepare(Family<Record>::inUse).Bind(1, id).Step())
            Refuse(Syncra::Protocol::ErrorCode::ObjectInUse, "This " + Noun() + " is in use.");
        database_.Prepare(Family<Record>::remove).Bind(1, id).Run();
    }

    /// Those whose members a change of the record concerns.
    [[nodiscard]] std::vector<std::string> ProjectsOf(const std::string& id)
    {
        std::vector<std::string> projects;
        if (Family<Record>::projects == nullptr)
            return projects;
        auto query = database_.Prepare(Family<Record>::projects);
        query.Bind(1, id);
        while (query.Step())
            projects.push_back(query.Text(0));
        return projects;
    }

private:
    [[nodiscard]] static std::string InOrder()
    {
        return std::string(" ORDER BY ") + Family<Record>::order;
    }
    [[nodiscard]] static std::vector<Record> Read(Statement&& query) { return Read(query); }
    [[nodiscard]] static std::vector<Record> Read(Statement& query)
    {
        std::vector<Record> records;
        while (query.Step())
            records.push_back(Family<Record>::Read(query));
        return records;
    }
    [[noreturn]] static void Refuse(Syncra::Protocol::ErrorCode code, const std::string& message)
    {
        throw Refusal(code, message);
    }
    [[nodiscard]] static std::string Noun() { return Family<Record>::noun; }

    Database& database_;
};

}  // namespace Nexar
