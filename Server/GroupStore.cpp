#include "GroupStore.hpp"

namespace Nexar {

std::vector<OV::UniString> GroupStore::GroupsOf(const std::string& userId)
{
    auto query = database_.Prepare(
        "SELECT group_name FROM user_group_members WHERE user_id = $1 ORDER BY group_name");
    query.Bind(1, userId);
    std::vector<OV::UniString> groups;
    while (query.Step())
        groups.push_back(OV::FromUtf8(query.View(0)));
    return groups;
}

bool GroupStore::IsIn(const std::string& userId, const std::string& group)
{
    return database_
        .Prepare("SELECT 1 FROM user_group_members WHERE user_id = $1 AND group_name = $2")
        .Bind(1, userId)
        .Bind(2, group)
        .Step();
}

void GroupStore::Add(const std::string& userId, const std::string& group)
{
    database_
        .Prepare("INSERT INTO user_group_members (user_id, group_name) VALUES ($1, $2) "
                 "ON CONFLICT DO NOTHING")
        .Bind(1, userId)
        .Bind(2, group)
        .Run();
}

bool GroupStore::Remove(const std::string& userId, const std::string& group)
{
    return database_
               .Prepare("DELETE FROM user_group_members WHERE user_id = $1 AND group_name = $2")
               .Bind(1, userId)
               .Bind(2, group)
               .Run() == 1;
}

}  // namespace Nexar
