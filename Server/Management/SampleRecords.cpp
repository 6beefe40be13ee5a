#include "Management/SampleRecords.hpp"

#include "Management/RecordRoutes.hpp"

namespace Nexar {

using namespace Records;

namespace {

/// Writes the record under a new id and returns that.
template <class Record>
OV::UniString Add(Database& database, Record record)
{
    record.id = NewId();
    RecordStore<Record>(database).Write(record);
    return record.id;
}

void AddRoles(Database& database)
{
    const auto work = Add(database, PermissionSet{{},
                                                  u"Design Work",
                                                  u"What everybody needs who changes something",
                                                  {u"Read", u"Write", u"Reserve", u"Release"}});
    Add(database, PermissionSet{{},
                                u"Coordination",
                                u"What it takes to keep a team going",
                                {u"ManageMembers", u"CloseProject", u"ReadLog"}});
    Add(database, Role{{}, u"Architect", u"", {u"ChangeSettings"}, work});
    Add(database, Role{{}, u"Engineer", u"", {}, work});
}

void AddPeople(Database& database)
{
    using Type = CustomPropertyDefinition::Type;
    const auto discipline = Add(
        database, CustomPropertyDefinition{{},
                                           u"Discipline",
                                           u"",
                                           Type::Choice,
                                           {u"Architecture", u"Structure", u"Building Services"}});
    const auto phone = Add(database, CustomPropertyDefinition{{}, u"Phone", u"", Type::Text, {}});
    Add(database,
        CustomPropertyDefinition{{}, u"External", u"Works for another office", Type::YesNo, {}});
    RecordStore<User> users(database);
    for (auto user : users.List()) {
        user.email = user.loginName + u"@example.com";
        if (user.loginName == u"anna.novak")
            user.properties = {{discipline, u"Structure"}, {phone, u"+420 555 0100"}};
        if (user.loginName == u"marco.rossi")
            user.properties = {{discipline, u"Architecture"}};
        users.Write(user);
    }
}

}  // namespace

void AddSampleRecords(Database& database)
{
    AddRoles(database);
    AddPeople(database);
    for (const auto* name :
         {u"Competitions", u"Housing", u"Infrastructure", u"Public Buildings", u"Sports"})
        Add(database, ProjectCategory{{}, name});
    Add(database, ConnectedModule{{}, u"Backup Runner", u"14.0", u"localhost:19010", true});
    Add(database, ConnectedModule{{}, u"Drawing Publisher", u"13.2", u"", false});
}

}  // namespace Nexar
