#include "BrowseProject.hpp"

#include "CleanUp.hpp"
#include "Flow/Detail/CacheOfProject.hpp"
#include "Flow/Detail/FlowText.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Collation.hpp"
#include "OVRoot/Exception.hpp"
#include "RegisteredProjects.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraURL.hpp"

#include <algorithm>

namespace SYC {

namespace {

using Syncra::Client::SignInData;
using Syncra::Client::SyncraClient;
using Syncra::Protocol::ProjectOverview;
using Projects = OV::Array<BrowsedProject>;

int CompareForPeople(const OV::UniString& left, const OV::UniString& right)
{
    return OV::Collation::OfUser().Compare(OV::ToUtf8(left), OV::ToUtf8(right));
}

void SortForPeople(Projects& projects)
{
    std::stable_sort(projects.begin(), projects.end(), [](const auto& left, const auto& right) {
        if (left.category.empty() != right.category.empty())
            return right.category.empty();
        const int order = CompareForPeople(left.category, right.category);
        return order != 0 ? order < 0 : CompareForPeople(left.name, right.name) < 0;
    });
}

OV::Array<RegisteredProject> FindCaches(const SignInData& login, const IO::Location& dataFolder)
{
    RegisteredProjects& registry = registeredProjects();
    const IO::Location folder = CacheFolderOr(dataFolder);
    OV::Array<CacheInfoRecord> records;
    OV::Array<RegisteredProject> caches;
    registry.RefreshCaches(folder);
    registry.SearchCaches(folder, records);
    registry.FillProjects(caches, login.serverName, login.userName, {}, records);
    std::erase_if(caches, [&](const auto& cache) {
        return static_cast<std::uint16_t>(cache.GetCachedProjectInfo().GetPort()) != login.port;
    });
    return caches;
}

void TakeCache(const CachedProjectInfo& cache, BrowsedProject& project)
{
    project.facts = GetCachedProjectFacts(cache);
    project.cacheFolder = cache.GetCacheFolderLocation();
    project.hasUnsentWork = HasUnsentWork(cache);
    project.lastOpenedTime = cache.GetLastOpenProjectTime();
}

BrowsedProject ToBrowsed(const ProjectOverview& overview)
{
    using Membership = BrowsedProject::Membership;
    BrowsedProject project;
    project.id = overview.id;
    project.name = overview.name;
    project.category = overview.category;
    project.version = overview.version;
    project.state = overview.state;
    project.members = overview.members;
    project.atWork = overview.atWork;
    project.membership = overview.isMember ? Membership::Member : Membership::Public;
    return project;
}

BrowsedProject ToBrowsed(const CachedProjectInfo& cache)
{
    BrowsedProject project;
    project.id = cache.GetProjectId();
    project.name = cache.GetProjectName();
    project.category = cache.GetCategoryName();
    project.version = cache.GetProjectVersion();
    TakeCache(cache, project);
    return project;
}

/// Of one that the server lists. A cache of another project, which had the name before, is of one
/// that is gone.
void AddCache(const CachedProjectInfo& cache, BrowsedProject& project)
{
    TakeCache(cache, project);
    const OV::UniString cachedId = cache.GetProjectId();
    project.facts.deletedFromServer = !cachedId.empty() && cachedId != project.id;
}

Projects CombineWithCaches(SyncraClient& client, const OV::Array<RegisteredProject>& caches)
{
    Projects projects;
    for (const ProjectOverview& overview : client.GetProjectOverviews())
        projects.push_back(ToBrowsed(overview));
    const auto listed = static_cast<std::ptrdiff_t>(projects.size());
    for (const auto& each : caches) {
        const CachedProjectInfo& cache = each.GetCachedProjectInfo();
        const OV::UniString name = cache.GetProjectName();
        const auto end = projects.begin() + listed;
        const auto found = std::find_if(projects.begin(), end,
                                        [&](const auto& project) { return project.name == name; });
        if (found != end) {
            AddCache(cache, *found);
            continue;
        }
        auto& project = projects.emplace_back(ToBrowsed(cache));
        project.facts.deletedFromServer = !client.ProjectExists(name);
    }
    return projects;
}

/// While the server does not say anything of them.
Projects ListCached(const OV::Array<RegisteredProject>& caches, bool isOffline)
{
    Projects projects;
    for (const auto& cache : caches) {
        projects.push_back(ToBrowsed(cache.GetCachedProjectInfo()));
        projects.back().facts.offline |= isOffline;
    }
    return projects;
}

}  // namespace

OV::UniString BrowsedProject::GetStateText() const
{
    return state ? GetServerStateText(*state) : OV::UniString();
}

BrowseProject::BrowseProject(SignInData login, IO::Location dataFolder,
                             const FlowExecutors& executors)
    : Flow(executors), login_(std::move(login)), dataFolder_(std::move(dataFolder))
{}

void BrowseProject::SetLogin(SignInData login)
{
    login_ = std::move(login);
    projects_.clear();
    Reset();
}

void BrowseProject::Refresh()
{
    Start([this, login = login_, dataFolder = dataFolder_](const Report& report) -> Result {
        const auto caches = FindCaches(login, dataFolder);
        report(GetText(FlowText::AskForProjects));
        Failure failure;
        Projects projects;
        try {
            projects = CombineWithCaches(*SYCB::CreateSyncraClient(login), caches);
        } catch (const OV::InterruptedException&) {
            throw;
        } catch (...) {
            failure = DescribeException();
            projects = ListCached(caches, failure.code == 0);
        }
        SortForPeople(projects);
        return {[this, projects = std::move(projects)] { projects_ = projects; }, failure};
    });
}

OV::Array<OV::UniString> BrowseProject::GetCategories() const
{
    OV::Array<OV::UniString> categories;
    for (const auto& project : projects_)
        if (categories.empty() || categories.back() != project.category)
            categories.push_back(project.category);
    return categories;
}

const BrowsedProject* BrowseProject::Find(const OV::UniString& name) const
{
    const auto exactly = [&](const BrowsedProject& project) { return project.name == name; };
    const auto alike = [&](const BrowsedProject& project) {
        return OV::EqualsIgnoreCase(project.name, name);
    };
    auto found = std::find_if(projects_.begin(), projects_.end(), exactly);
    if (found == projects_.end() && std::count_if(projects_.begin(), projects_.end(), alike) == 1)
        found = std::find_if(projects_.begin(), projects_.end(), alike);
    return found == projects_.end() ? nullptr : &*found;
}

IO::Location BrowseProject::GetLocation(const BrowsedProject& project) const
{
    return ToSyncraLocation(
        {login_.serverName, login_.port, project.name, login_.userName, login_.password});
}

}  // namespace SYC
