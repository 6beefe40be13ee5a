#include "Management/ContentsMerge.hpp"

#include "Management/RecordRoutes.hpp"

namespace Nexar {

namespace {

/// From the other server's ids to ours.
using IdTable = OV::HashTable<OV::UniString, OV::UniString>;

void Translate(OV::UniString& id, const IdTable& table)
{
    const auto found = table.find(id);
    if (found == table.end())
        Rules::Break("\"" + OV::ToUtf8(id) + "\" refers to nothing in the body.");
    id = found->second;
}

void Translate(OV::HashSet<OV::UniString>& ids, const IdTable& table)
{
    OV::HashSet<OV::UniString> ours;
    for (auto id : ids) {
        Translate(id, table);
        ours.insert(std::move(id));
    }
    ids = std::move(ours);
}

class Merger {
public:
    explicit Merger(Database& database) : database_(database) {}

    template <class Record>
    IdTable Take(OV::Array<Record>& records)
    {
        RecordStore<Record> store(database_);
        IdTable ids;
        for (auto& record : records) {
            const auto theirs = record.id;
            const auto here = store.Named(OV::ToUtf8(record.name));
            record.id = here.empty() ? NewId() : here.front().id;
            // In another letter case it is the same one, under the name that is known here.
            if (!here.empty())
                record.name = here.front().name;
            ids[theirs] = record.id;
            store.Write(record);
            for (auto& project : store.ProjectsOf(OV::ToUtf8(record.id)))
                projects_.insert(std::move(project));
        }
        return ids;
    }
    [[nodiscard]] std::set<std::string> Projects() { return std::move(projects_); }

private:
    Database& database_;
    std::set<std::string> projects_;
};

}  // namespace

std::set<std::string> MergeContents(Database& database, Records::RepositoryContents contents)
{
    Transaction transaction(database);
    Merger merger(database);
    const auto permissions = merger.Take(contents.permissions);
    for (auto& set : contents.permissionSets)
        Translate(set.permissions, permissions);
    const auto sets = merger.Take(contents.permissionSets);
    for (auto& role : contents.roles) {
        Translate(role.permissions, permissions);
        if (!role.permissionSet.empty())
            Translate(role.permissionSet, sets);
    }
    merger.Take(contents.roles);
    merger.Take(contents.customProperties);
    transaction.Commit();
    return merger.Projects();
}

}  // namespace Nexar
