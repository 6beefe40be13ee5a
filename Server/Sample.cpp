#include "Sample.hpp"

#include "GroupStore.hpp"
#include "Limits.hpp"
#include "Management/SampleRecords.hpp"
#include "PhotoStore.hpp"
#include "SampleLog.hpp"
#include "SamplePhotos.hpp"

#include "OVRoot/Guid.hpp"

#include <array>

namespace Nexar {

using Syncra::Protocol::ProjectState;

namespace {

struct SampleUser {
    const char* login;
    const char* fullName;
    std::int64_t color;
    bool enabled = true;
};

constexpr std::array users{
    SampleUser{"anna.novak", "Anna Nov\u00e1k", 0x2E7D32},
    SampleUser{"marco.rossi", "Marco Rossi", 0xC62828},
    SampleUser{"yuki.tanaka", "\u7530\u4e2d \u96ea", 0x1565C0},
    SampleUser{"lena.fischer", "Lena Fischer", 0x6A1B9A},
    SampleUser{"omar.haddad", "Omar Haddad", 0xEF6C00},
    SampleUser{"priya.nair", "Priya Nair", 0x00838F},
    SampleUser{"jonas.berg", "Jonas Berg", 0x4E342E},
    SampleUser{"sofia.costa", "Sof\u00eda Costa", 0xAD1457},
    SampleUser{"pavel.dvorak", "Pavel Dvo\u0159\u00e1k", 0x283593},
    SampleUser{"grace.okoro", "Grace Okoro", 0x558B2F},
    SampleUser{"liam.walsh", "Liam Walsh", 0x9E9D24},
    SampleUser{"mei.chen", "Mei Chen", 0x00695C},
    SampleUser{"tomas.silva", "Tom\u00e1s Silva", 0xD84315},
    SampleUser{"nora.lind", "Nora Lind", 0x37474F},
    SampleUser{"admin", "Site Administrator", 0x000000},
    SampleUser{"former.member", "Former Member", 0x757575, false},
};

struct SampleProject {
    const char16_t* id;
    const char16_t* name;
    const char16_t* category;
    ProjectState state;
    bool isPublic;
    std::vector<std::pair<const char*, const char*>> members;  ///< login and role
};

const std::vector<SampleProject>& Projects()
{
    static const std::vector<SampleProject> projects = {
        {u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001",
         u"Harbour Bridge",
         u"Infrastructure",
         ProjectState::Active,
         false,
         {{"anna.novak", "Project Manager"},
          {"marco.rossi", "Architect"},
          {"yuki.tanaka", "Architect"},
          {"lena.fischer", "Engineer"},
          {"omar.haddad", "Engineer"},
          {"priya.nair", "Engineer"},
          {"jonas.berg", "Viewer"},
          {"admin", "Project Manager"}}},
        {u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1002",
         u"City Library",
         u"Public Buildings",
         ProjectState::Active,
         false,
         {{"sofia.costa", "Project Manager"},
          {"anna.novak", "Architect"},
          {"pavel.dvorak", "Architect"},
          {"grace.okoro", "Engineer"},
          {"mei.chen", "Viewer"}}},
        // Locked: opens for reading, not for writing.
        {u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1003",
         u"Riverside Tower",
         u"Housing",
         ProjectState::Locked,
         false,
         {{"lena.fischer", "Project Manager"},
          {"anna.novak", "Engineer"},
          {"tomas.silva", "Architect"}}},
        {u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1004",
         u"Old Mill Conversion",
         u"Housing",
         ProjectState::Maintenance,
         false,
         {{"pavel.dvorak", "Project Manager"},
          {"anna.novak", "Viewer"},
          {"nora.lind", "Architect"}}},
        // Everybody sees it, few are members.
        {u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1005",
         u"Open House 2026",
         u"Competitions",
         ProjectState::Active,
         true,
         {{"mei.chen", "Project Manager"}, {"liam.walsh", "Architect"}}},
        // Made anew under its old name; caches of the former one hold the id that ends in 1906.
        {u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1006",
         u"North Station",
         u"Infrastructure",
         ProjectState::Active,
         false,
         {{"omar.haddad", "Project Manager"},
          {"anna.novak", "Architect"},
          {"liam.walsh", "Engineer"}}},
    };
    return projects;
}

/// Sessions that somebody left open on another computer.
struct SampleSession {
    const char16_t* projectId;
    const char* login;
    const char* computer;
};

constexpr std::array sessions{
    SampleSession{u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001", "marco.rossi", "STUDIO-07"},
    SampleSession{u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1002", "sofia.costa", "SITE-LAPTOP-2"},
};

void AddUsers(UserStore& store, PasswordHash& hash)
{
    for (const auto& user : users)
        store.Add({OV::ToUtf8(OV::Guid::Generate().ToText()), user.login, user.fullName,
                   hash.Make(SamplePassword), user.enabled, user.color});
}

void AddProjects(ProjectStore& store, MemberStore& memberStore, UserStore& userStore)
{
    for (const auto& project : Projects()) {
        Syncra::Protocol::Project record;
        record.id = project.id;
        record.name = project.name;
        record.category = project.category;
        record.location = u"/projects/" + record.id;
        record.state = project.state;
        record.version = u"14.0.0.0";
        record.build = 2113;
        store.Add({record, project.isPublic});
        for (const auto& [login, role] : project.members)
            memberStore.Add(OV::ToUtf8(record.id), userStore.FindByLogin(login)->id, role);
    }
}

void AddSessions(SessionStore& store, UserStore& userStore)
{
    for (const auto& session : sessions) {
        const auto started =
            store.Start(OV::ToUtf8(session.projectId), userStore.FindByLogin(session.login)->id);
        store.SetAttribute(OV::ToUtf8(started->id),
                           OV::ToUtf8(Syncra::Protocol::SessionAttributeNames::ComputerName),
                           session.computer, Limits().attributesOfSession);
    }
}

void AddPhotos(PhotoStore& store, UserStore& userStore)
{
    for (const auto& [login, type, data] : SamplePhotos())
        if (const auto user = userStore.FindByLogin(std::string(login)))
            store.Set(user->id, {OV::FromUtf8(type), OV::String(data)});
}

/// Who works in which project, as lines of its log name him.
std::vector<SampleLogMember> SampleLogMembers()
{
    std::vector<SampleLogMember> members;
    for (const auto& project : Projects())
        for (const auto& [login, role] : project.members)
            for (const auto& user : users)
                if (std::string_view(user.login) == login)
                    members.push_back({OV::ToUtf8(project.id),
                                       std::string(user.fullName) + " (" + user.login + ")"});
    return members;
}

void AddToGroups(GroupStore& store, UserStore& userStore)
{
    store.Add(userStore.FindByLogin("admin")->id, UserGroups::Administrators);
    store.Add(userStore.FindByLogin("anna.novak")->id, UserGroups::ProjectManagers);
}

}  // namespace

bool FillWithSample(Database& database, PasswordHash& hash, std::uint32_t logLines)
{
    Transaction transaction(database);
    database.HoldAll();
    UserStore userStore(database);
    if (!userStore.IsEmpty())
        return false;
    ProjectStore projectStore(database);
    MemberStore memberStore(database);
    SessionStore sessionStore(database);
    AddUsers(userStore, hash);
    AddSampleRecords(database);
    AddProjects(projectStore, memberStore, userStore);
    AddSessions(sessionStore, userStore);
    PhotoStore photoStore(database);
    AddPhotos(photoStore, userStore);
    GroupStore groupStore(database);
    AddToGroups(groupStore, userStore);
    AddSampleLog(database, SampleLogMembers(), logLines);
    transaction.Commit();
    return true;
}

}  // namespace Nexar
