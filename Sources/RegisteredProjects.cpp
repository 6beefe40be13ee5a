#include "RegisteredProjects.hpp"

#include "Cache/Detail/CacheFolders.hpp"
#include "Cache/Detail/UnsentWork.hpp"
#include "Files/FileErrors.hpp"
#include "Files/RoamingProfile.hpp"
#include "IO/IOException.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Exception.hpp"
#include "Registry/Detail/CacheRegister.hpp"
#include "Registry/Detail/DataOptionsFile.hpp"
#include "SyncraURL.hpp"

#include <algorithm>
#include <tuple>

namespace SYC {

namespace Core = Syncra::Server::ManagementTool::Core;

namespace {

constexpr OV::UniStringView CompanyFolder = u"Orvant";

std::shared_ptr<DataOptionsFile> MakeOptionsFile()
{
    return std::make_shared<DataOptionsFile>(Core::GetRoamingProfileFolderLocation()
                                                 .Appended(CompanyFolder)
                                                 .Appended(DataOptionsFormat::FileName));
}

/// What an earlier removal left was agreed to go.
bool IsLeftOfRemoval(const CacheInfoRecord& record)
{
    if (!record.info)
        return false;
    Inner::ProjectConnectionInfo connection;
    record.info->GetProjectConnectionInfo(connection);
    return CacheFolders::IsRemains(record.folder, connection);
}

void CheckDataFolder(const IO::Location& folder)
{
    if (!DataOptionsFormat::IsUsable(folder))
        throw OV::IllegalArgumentException(
            u"\"" + folder.ToDisplayText() +
            u"\" cannot be the folder of the project data. One looks like \"/srv/projects\".");
}

IO::Location Below(const IO::Location& folder, const OV::UniString& name)
{
    return name.empty() ? folder : folder.Appended(name);
}

auto ListOrder(const RegisteredProject& project)
{
    return std::tuple(OV::Folded(project.GetProjectName()), OV::Folded(project.GetServerName()),
                      OV::Folded(project.GetUserName()),
                      project.GetCacheDataFolderLocation().LastComponent());
}

}  // namespace

struct RegisteredProjects::Settings {
    OV::Lock lock;
    std::shared_ptr<DataOptionsFile> options OV_GUARDED_BY(lock) = MakeOptionsFile();
    OV::UniString projectFolderName OV_GUARDED_BY(lock);
    OV::UniString libraryFolderName OV_GUARDED_BY(lock);
};

RegisteredProjects::RegisteredProjects()
    : settings_(std::make_unique<Settings>()), mCacheInforegister(std::make_unique<CacheRegister>())
{
    CachedProjectInfoObserver::Attach();
    SYDataOptionsObserver::Attach();
}

RegisteredProjects::~RegisteredProjects() = default;

RegisteredProjects& RegisteredProjects::GetInstance()
{
    // Never destroyed: caches are written, and observed, until the very end.
    static auto& mSingleton = *new RegisteredProjects;
    return mSingleton;
}

RegisteredProjects& registeredProjects()
{
    return RegisteredProjects::GetInstance();
}

void RegisteredProjects::Init(const IO::Location& dataFolder,
                              const OV::UniString& projectFolderName,
                              const OV::UniString& libraryFolderName)
{
    CheckDataFolder(dataFolder);
    auto& registry = GetInstance();
    registry.Reset();
    {
        Settings& settings = *registry.settings_;
        const OV::LockGuard guard(settings.lock);
        settings.projectFolderName = projectFolderName;
        settings.libraryFolderName = libraryFolderName;
    }
    registry.SetSYDataFolder(dataFolder, false);
}

void RegisteredProjects::Reset()
{
    // The lock of a guard that is still open would keep this process out as if it were another.
    Options()->ForgetHolders();
    {
        const OV::LockGuard guard(settings_->lock);
        settings_->options = MakeOptionsFile();
        settings_->projectFolderName.clear();
        settings_->libraryFolderName.clear();
    }
    Clear();
}

IO::Location RegisteredProjects::GetDefaultDataFolder()
{
    return IO::GetCompanyFolder(IO::SpecialFolder::ApplicationData).Appended(u"Projects");
}

// Options

std::shared_ptr<DataOptionsFile> RegisteredProjects::Options() const
{
    const OV::LockGuard guard(settings_->lock);
    return settings_->options;
}

IO::Location RegisteredProjects::GetOptionsFileLocation() const
{
    return Options()->GetLocation();
}

IO::Location RegisteredProjects::GetSYDataFolder() const
{
    return Options()->Get().dataFolder;
}

void RegisteredProjects::SetSYDataFolder(const IO::Location& folder, bool save)
{
    CheckDataFolder(folder);
    if (save)
        Options()->ChangeFolder(folder);
    else
        Options()->UseFolder(folder);
}

bool RegisteredProjects::GetEnableAutoClean() const
{
    return Options()->Get().enableAutoClean;
}
void RegisteredProjects::SetEnableAutoClean(bool enable)
{
    Options()->Change(&DataOptions::enableAutoClean, &DataOptionChanges::enableAutoClean, enable);
}
std::int32_t RegisteredProjects::GetPeriodTime() const
{
    return Options()->Get().periodTime;
}
void RegisteredProjects::SetPeriodTime(std::int32_t time)
{
    Options()->Change(&DataOptions::periodTime, &DataOptionChanges::periodTime, time);
}
std::int32_t RegisteredProjects::GetLastUsedDays() const
{
    return Options()->Get().lastUsedDays;
}
void RegisteredProjects::SetLastUsedDays(std::int32_t days)
{
    Options()->Change(&DataOptions::lastUsedDays, &DataOptionChanges::lastUsedDays, days);
}
std::int32_t RegisteredProjects::GetLastRunTime() const
{
    return Options()->Get().lastRunTime;
}
void RegisteredProjects::SetLastRunTime(std::int32_t time)
{
    Options()->Change(&DataOptions::lastRunTime, &DataOptionChanges::lastRunTime, time);
}
bool RegisteredProjects::HasUnwrittenOptions() const
{
    return Options()->HasChanges();
}

void RegisteredProjects::SYDataFolderChanged()
{
    // The caches of the new folder are read when somebody asks for them.
    Clear();
}

// The registry

IO::Location RegisteredProjects::GetMainProjectCacheFolderLocation() const
{
    const OV::LockGuard guard(settings_->lock);
    return Below(settings_->options->Get().dataFolder, settings_->projectFolderName);
}

IO::Location RegisteredProjects::GetMainLibCacheFolderLocation() const
{
    const OV::LockGuard guard(settings_->lock);
    return Below(settings_->options->Get().dataFolder, settings_->libraryFolderName);
}

IO::Location RegisteredProjects::ProjectFolder(const IO::Location& dataFolder) const
{
    return dataFolder.IsEmpty() ? GetMainProjectCacheFolderLocation() : dataFolder;
}

void RegisteredProjects::Clear()
{
    mCacheInforegister->Clear();
}

void RegisteredProjects::ContentWrittenToDisc(const CachedProjectInfo& info)
{
    mCacheInforegister->Written(info);
}

void RegisteredProjects::RefreshData(bool caches, const IO::Location& folder)
{
    Options()->Refresh();
    if (caches)
        RefreshCaches(ProjectFolder(folder));
}

void RegisteredProjects::RefreshCaches(const IO::Location& folder)
{
    mCacheInforegister->Refresh(folder);
}

void RegisteredProjects::RegisterCaches(const IO::Location& folder)
{
    if (!mCacheInforegister->IsRegistered(folder))
        mCacheInforegister->Refresh(folder);
}

void RegisteredProjects::SearchCaches(const IO::Location& folder,
                                      OV::Array<CacheInfoRecord>& records) const
{
    if (!mCacheInforegister->IsRegistered(folder))
        mCacheInforegister->Refresh(folder);
    records = mCacheInforegister->GetRecords(folder);
}

void RegisteredProjects::FillProjects(OV::Array<RegisteredProject>& projects,
                                      const OV::UniString& serverName,
                                      const OV::UniString& userName,
                                      const OV::Array<IO::Location>& folders,
                                      const OV::Array<CacheInfoRecord>& records) const
{
    const auto isSame = [this](const OV::UniString& name, const OV::UniString& wanted) {
        return name == wanted || (!mCaseSensitiveSearch && OV::EqualsIgnoreCase(name, wanted));
    };
    projects.clear();
    for (const auto& [folder, info, problem] : records) {
        if (!info)
            continue;
        const bool isWanted =
            (serverName.empty() || OV::EqualsIgnoreCase(info->GetServerName(), serverName)) &&
            (userName.empty() || isSame(info->GetLoginName(), userName)) &&
            (folders.empty() ||
             std::find(folders.begin(), folders.end(), folder.Parent()) != folders.end());
        if (isWanted)
            projects.emplace_back(info);
    }
    std::sort(projects.begin(), projects.end(), [](const auto& left, const auto& right) {
        return ListOrder(left) < ListOrder(right);
    });
}

bool RegisteredProjects::FindByUrl(const IO::Location& url, std::size_t& index, bool look,
                                   const IO::Location& folder)
{
    auto& caches = *mCacheInforegister;
    // A password that this computer cannot decode is nobody's concern here.
    auto withoutPassword = url;
    withoutPassword.SetPassword({});
    const auto connection = ToCheckedConnectionInfo(withoutPassword);
    const auto find = [&] {
        const auto found = caches.Find(folder, connection, mCaseSensitiveSearch);
        index = found.value_or(0);
        return found.has_value();
    };
    // Most caches stand where they were made: one look instead of one at each.
    if (look || !find())
        caches.Look(folder.Appended(CacheFolders::MakeName(connection)));
    if (find()) {
        if (!look)
            return true;
        if (const auto record = caches.At(index))
            caches.Look(record->folder);
        if (find())
            return true;
    }
    if (look || !caches.IsRegistered(folder))
        caches.Refresh(folder);
    if (find())
        return true;
    if (look)
        caches.RequireRead(folder, connection);
    return false;
}

bool RegisteredProjects::GetCacheIndex(const IO::Location& project, std::size_t& index, bool look,
                                       const IO::Location& dataFolder)
{
    if (project.GetNetworkModel() == IO::NetworkModel::Url)
        return FindByUrl(project, index, look, ProjectFolder(dataFolder));
    auto found = mCacheInforegister->Find(project);
    if (look || !found) {
        mCacheInforegister->Look(project);
        found = mCacheInforegister->Find(project);
    }
    index = found.value_or(0);
    return found.has_value();
}

std::shared_ptr<const CachedProjectInfo>
RegisteredProjects::GetCacheInfo(const IO::Location& project, bool look,
                                 const IO::Location& dataFolder)
{
    std::size_t index = 0;
    if (!GetCacheIndex(project, index, look, dataFolder))
        return nullptr;
    const auto record = mCacheInforegister->At(index);
    return record ? record->info : nullptr;
}

std::shared_ptr<CachedProjectInfo>
RegisteredProjects::GetCachedProjectInfo(const IO::Location& project,
                                         const IO::Location& dataFolder)
{
    const auto known = GetCacheInfo(project, true, dataFolder);
    if (known)
        return mCacheInforegister->Share(known->GetCacheFolderLocation());
    if (project.GetNetworkModel() != IO::NetworkModel::Url)
        mCacheInforegister->RequireRead(project);
    return nullptr;
}

std::shared_ptr<CachedProjectInfo>
RegisteredProjects::CreateCachedProjectInfo(const IO::Location& projectUrl,
                                            const IO::Location& dataFolder)
{
    return mCacheInforegister->Create(ToCheckedConnectionInfo(projectUrl),
                                      ProjectFolder(dataFolder));
}

bool RegisteredProjects::RemoveProject(const IO::Location& project, bool force)
{
    std::size_t index = 0;
    if (!GetCacheIndex(project, index, true))
        return false;
    const auto record = mCacheInforegister->At(index);
    if (!record)
        return false;
    try {
        CacheFolders::Remove(record->folder,
                             force || IsLeftOfRemoval(*record) ? nullptr : &RefuseUnsentWork);
    } catch (const OV::Exception&) {
        // It may stand under another name by now.
        try {
            mCacheInforegister->Look(record->folder);
        } catch (const Core::FileOpenningError&) {
            // The next look tells.
        }
        throw;
    }
    mCacheInforegister->Forget(record->folder);
    return true;
}

std::size_t RegisteredProjects::GetCacheDataFolderNum() const
{
    return mCacheInforegister->GetCount();
}

IO::Location RegisteredProjects::GetCacheDataFolder(std::size_t index) const
{
    const auto record = mCacheInforegister->At(index);
    return record ? record->folder : IO::Location();
}

template <class Result>
auto RegisteredProjects::Ask(const IO::Location& project, Result (CachedProjectInfo::*getter)()
                                                              const) -> std::remove_cvref_t<Result>
{
    const auto info = GetCacheInfo(project, false);
    return info ? ((*info).*getter)() : std::remove_cvref_t<Result>();
}

template <class... Arguments, class... Given>
bool RegisteredProjects::Tell(const IO::Location& project,
                              void (CachedProjectInfo::*setter)(Arguments...),
                              const Given&... arguments)
{
    const auto image = GetCachedProjectInfo(project);
    if (image)
        ((*image).*setter)(arguments...);
    return image != nullptr;
}

using Info = CachedProjectInfo;

bool RegisteredProjects::ProjectOpened(const IO::Location& project)
{
    return Tell(project, &Info::SetLastOpenProjectTime, OV::Clock::Current().Now());
}

bool RegisteredProjects::GetIDs(const IO::Location& project, OV::UniString& projectId,
                                OV::UniString& userId)
{
    const auto info = GetCacheInfo(project, false);
    projectId = info ? info->GetProjectId() : OV::UniString();
    userId = info ? info->GetUserId() : OV::UniString();
    return info != nullptr;
}

std::int32_t RegisteredProjects::GetLastOpenedTime(const IO::Location& project)
{
    return Ask(project, &Info::GetLastOpenProjectTime);
}
OV::UniString RegisteredProjects::GetProjectVersion(const IO::Location& project)
{
    return Ask(project, &Info::GetProjectVersion);
}
bool RegisteredProjects::SetProjectVersion(const IO::Location& project,
                                           const OV::UniString& version)
{
    return Tell(project, &Info::SetProjectVersion, version);
}
std::int32_t RegisteredProjects::GetProjectBuildNum(const IO::Location& project)
{
    return Ask(project, &Info::GetProjectBuildNum);
}
bool RegisteredProjects::SetProjectBuildNum(const IO::Location& project, std::int32_t build)
{
    return Tell(project, &Info::SetProjectBuildNum, build);
}
bool RegisteredProjects::IsProjectDetached(const IO::Location& project)
{
    return Ask(project, &Info::IsProjectDetached);
}
bool RegisteredProjects::ProjectDetached(const IO::Location& project)
{
    return Tell(project, &Info::ProjectDetached);
}
std::int32_t RegisteredProjects::GetTravelPackageCreationTime(const IO::Location& project)
{
    return Ask(project, &Info::GetTravelPackageCreationTime);
}
bool RegisteredProjects::SetTravelPackageCreationTime(const IO::Location& project,
                                                      std::int32_t time)
{
    return Tell(project, &Info::SetTravelPackageCreationTime, time);
}
bool RegisteredProjects::IsTravelPackageCreated(const IO::Location& project)
{
    return Ask(project, &Info::IsTravelPackageCreated);
}
bool RegisteredProjects::SetTravelPackageCreated(const IO::Location& project, bool created)
{
    return Tell(project, &Info::SetTravelPackageCreated, created);
}
bool RegisteredProjects::ExtractedFromTravelPackage(const IO::Location& project)
{
    return Ask(project, &Info::ExtractedFromTravelPackage);
}
bool RegisteredProjects::SetExtractedFromTravelPackage(const IO::Location& project, bool extracted)
{
    return Tell(project, &Info::SetExtractedFromTravelPackage, extracted);
}
bool RegisteredProjects::IsEnabledTravelPackageWarningAtClose(const IO::Location& project)
{
    return Ask(project, &Info::IsEnabledTravelPackageWarningAtClose);
}
bool RegisteredProjects::EnableTravelPackageWarningAtClose(const IO::Location& project, bool enable)
{
    return Tell(project, &Info::EnableTravelPackageWarningAtClose, enable);
}

}  // namespace SYC
