#include "CachedProjectInfo.hpp"

#include "Cache/CacheInfoFormat.hpp"
#include "Cache/Detail/CacheFolders.hpp"
#include "CachedProjectInfoObserver.hpp"
#include "Files/ValueFile.hpp"
#include "IO/Folder.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

namespace Core = Syncra::Server::ManagementTool::Core;

namespace {

constexpr unsigned BytesToMebibytes = 20;

}  // namespace

CachedProjectInfo::CachedProjectInfo(const IO::Location& cacheFolder) : cacheFolder_(cacheFolder)
{
    ReadFromDisc(false);
}

CachedProjectInfo::CachedProjectInfo(const Inner::ProjectConnectionInfo& info,
                                     const IO::Location& parentFolder)
{
    std::optional<FileAlert> failure;
    {
        // Held until the file is there, which tells every other process that the folder is taken.
        const CacheFolders::NewFolder folder(parentFolder, CacheFolders::MakeName(info));
        cacheFolder_ = folder.GetLocation();
        (void)Assign(info);
        failure = Write();
    }
    EndWrite(failure);
}

bool CachedProjectInfo::CachedProjectInfoExist(const IO::Location& folder)
{
    try {
        return IO::File::Exists(folder.Appended(CacheInfoFormat::FileName));
    } catch (const OV::Exception&) {
        return false;
    }
}

IO::Location CachedProjectInfo::FileLocation() const
{
    return cacheFolder_.Appended(CacheInfoFormat::FileName);
}

void CachedProjectInfo::GetCacheInfoFileLocation(IO::Location& out) const
{
    out = FileLocation();
}

void CachedProjectInfo::GetProjectConnectionInfo(Inner::ProjectConnectionInfo& out) const
{
    out.userName = values_.loginName;
    out.password = password_;
    out.serverName = values_.serverName;
    out.port = static_cast<std::uint16_t>(values_.port);
    out.projectName = values_.projectName;
}

/// Whether the values differed.
template <class Value>
bool CachedProjectInfo::Assign(Value CacheInfoValues::*member, const Value& value)
{
    if (values_.*member == value)
        return false;
    if (!former_)
        former_ = std::make_shared<const CacheInfoValues>(values_);
    values_.*member = value;
    return true;
}

bool CachedProjectInfo::Assign(const Inner::ProjectConnectionInfo& info)
{
    bool changed = false;
    if (!OV::EqualsIgnoreCase(values_.serverName, info.serverName))
        changed |= Assign(&CacheInfoValues::serverName, info.serverName);
    changed |= Assign(&CacheInfoValues::port, static_cast<std::int16_t>(info.port));
    changed |= Assign(&CacheInfoValues::projectName, info.projectName);
    changed |= Assign(&CacheInfoValues::loginName, info.userName);
    password_ = info.password;
    return changed;
}

bool CachedProjectInfo::SetProjectConnectionInfo(const Inner::ProjectConnectionInfo& info)
{
    BeginChange();
    const bool changed = Assign(info);
    if (changed)
        WriteToDiscIfComplete(false);
    return changed;
}

// Fields

/// What is set is held against what the file holds now. A bracket saw that when it was opened.
void CachedProjectInfo::BeginChange()
{
    if (!updateOpen_)
        TakeOver();
}

template <class Value>
void CachedProjectInfo::Change(Value CacheInfoValues::*member, const Value& value)
{
    BeginChange();
    if (Assign(member, value))
        WriteToDiscIfComplete(false);
}

using Values = CacheInfoValues;

void CachedProjectInfo::SetUserName(const OV::UniString& name)
{
    Change(&Values::userName, name);
}
void CachedProjectInfo::SetUserId(const OV::UniString& id)
{
    Change(&Values::userId, id);
}
void CachedProjectInfo::SetProjectId(const OV::UniString& id)
{
    Change(&Values::projectId, id);
}
void CachedProjectInfo::SetLogonId(std::int32_t id)
{
    Change(&Values::logonId, id);
}
void CachedProjectInfo::SetRoleName(const OV::UniString& name)
{
    Change(&Values::roleName, name);
}
void CachedProjectInfo::SetPermissions(const OV::HashSet<OV::UniString>& permissions)
{
    Change(&Values::permissions, permissions);
}

const OV::UniString& CachedProjectInfo::GetCategoryName() const
{
    return values_.projectCategoryName;
}
void CachedProjectInfo::SetCategoryName(const OV::UniString& name)
{
    Change(&Values::projectCategoryName, name);
}

const OV::UniString& CachedProjectInfo::GetUserColorListString() const
{
    return values_.userColorList;
}
void CachedProjectInfo::SetUserColorListString(const OV::UniString& text)
{
    Change(&Values::userColorList, text);
}

std::int16_t CachedProjectInfo::GetColorMode() const
{
    return values_.colorMode;
}
void CachedProjectInfo::SetColorMode(std::int16_t mode)
{
    Change(&Values::colorMode, mode);
}

std::int32_t CachedProjectInfo::GetLastOpenProjectTime() const
{
    return values_.lastOpenProjectTime;
}
void CachedProjectInfo::SetLastOpenProjectTime(std::int32_t time)
{
    Change(&Values::lastOpenProjectTime, time);
}

std::int32_t CachedProjectInfo::GetTravelPackageCreationTime() const
{
    return values_.travelPackageCreationTime;
}
void CachedProjectInfo::SetTravelPackageCreationTime(std::int32_t time)
{
    Change(&Values::travelPackageCreationTime, time);
}

bool CachedProjectInfo::IsTravelPackageCreated() const
{
    return values_.travelPackageCreated;
}
void CachedProjectInfo::SetTravelPackageCreated(bool created)
{
    Change(&Values::travelPackageCreated, created);
}

bool CachedProjectInfo::ExtractedFromTravelPackage() const
{
    return values_.extractedFromTravelPackage;
}
void CachedProjectInfo::SetExtractedFromTravelPackage(bool extracted)
{
    Change(&Values::extractedFromTravelPackage, extracted);
}

bool CachedProjectInfo::IsEnabledTravelPackageWarningAtClose() const
{
    return values_.enableTravelPackageWarningAtClose;
}
void CachedProjectInfo::EnableTravelPackageWarningAtClose(bool enable)
{
    Change(&Values::enableTravelPackageWarningAtClose, enable);
}

const OV::UniString& CachedProjectInfo::GetProjectVersion() const
{
    return values_.projectVersion;
}
void CachedProjectInfo::SetProjectVersion(const OV::UniString& version)
{
    Change(&Values::projectVersion, version);
}

std::int32_t CachedProjectInfo::GetProjectBuildNum() const
{
    return values_.projectBuild;
}
void CachedProjectInfo::SetProjectBuildNum(std::int32_t build)
{
    Change(&Values::projectBuild, build);
}

bool CachedProjectInfo::IsProjectDetached() const
{
    return values_.projectDetached;
}
void CachedProjectInfo::ProjectDetached()
{
    Change(&Values::projectDetached, true);
}

std::int32_t CachedProjectInfo::GetModificationTime() const
{
    return modificationTime_;
}
const IO::ChangeStamp& CachedProjectInfo::GetChangeStamp() const
{
    return stamp_;
}

void CachedProjectInfo::SetCacheFolder(const IO::Location& folder)
{
    if (cacheFolder_ == folder)
        return;
    cacheFolder_ = folder;
    isMoved_ = true;
    WriteToDiscIfComplete(false);
}

OV::UniString CachedProjectInfo::GetLocalFolderName() const
{
    return cacheFolder_.LastComponent();
}

std::uint32_t CachedProjectInfo::GetSpace_Mbyte() const
{
    try {
        return static_cast<std::uint32_t>(IO::Folder::GetSize(cacheFolder_) >> BytesToMebibytes);
    } catch (const OV::Exception&) {
        return 0;
    }
}

bool CachedProjectInfo::IsComplete() const
{
    return !values_.loginName.empty() && !values_.userName.empty() && !values_.userId.empty() &&
           !values_.projectName.empty() && !values_.projectId.empty() &&
           !values_.sessionId.empty() && values_.port != 0 && !values_.serverName.empty();
}

// The file

void CachedProjectInfo::BeginUpdate()
{
    BeginChange();
    updateOpen_ = true;
}

void CachedProjectInfo::EndUpdate()
{
    updateOpen_ = false;
    if (writePending_)
        WriteToDiscIfComplete(true);
}

void CachedProjectInfo::WriteToDisc()
{
    WriteToDiscIfComplete(true);
}

void CachedProjectInfo::WriteToDiscIfComplete(bool force)
{
    if (updateOpen_ && !force)
        writePending_ = true;
    else
        EndWrite(Write());
}

std::optional<CachedProjectInfo::FileAlert> CachedProjectInfo::Write()
{
    TakeOver();
    const auto replaced =
        Core::TryReplaceValueFile(FileLocation(), CacheInfoFormat::Write(values_, additions_));
    writePending_ = false;
    if (replaced.stamp) {
        SetStamp(*replaced.stamp);
        former_.reset();
        isMoved_ = false;
    }
    return replaced.failure;
}

/// Somebody else's code runs here: it may set and write again.
void CachedProjectInfo::EndWrite(std::optional<FileAlert> failure)
{
    if (failure)
        Core::ShowFileAlert(*failure, FileLocation());
    CachedProjectInfoObserver::SendContentWrittenToDisc(*this);
}

void CachedProjectInfo::SetStamp(const IO::ChangeStamp& stamp)
{
    stamp_ = stamp;
    modificationTime_ = stamp.ModificationTime();
}

void CachedProjectInfo::ReadFromDisc(bool again)
{
    // Only what is pending: a file that another process changed must not be overwritten by a
    // bracket in which nothing was set.
    if (updateOpen_ && writePending_)
        WriteToDiscIfComplete(true);
    Load(again, false);
}

void CachedProjectInfo::Load(bool again, bool keepsChanges)
{
    const IO::Location file = FileLocation();
    CacheInfoFormat::Content content;
    const IO::ChangeStamp stamp = Core::ReadValueFile(
        file, [&](OV::XMLIChannel& channel) { content = CacheInfoFormat::Read(channel); });
    if (again)
        OV::Logger::DebugPrint(u"SYC::CachedProjectInfo re-read %s", {file.ToPath()});
    if (!content.IsNewer() && content.values.lastOpenProjectTime == 0)
        content.values.lastOpenProjectTime = stamp.ModificationTime();
    if (keepsChanges && former_) {
        values_ = CacheInfoFormat::Merge(*former_, values_, content.values);
        former_ = std::make_shared<const CacheInfoValues>(std::move(content.values));
    } else {
        values_ = std::move(content.values);
        former_.reset();
    }
    additions_ = std::move(content.additions);
    isMoved_ = false;
    // A newer client's file keeps looking changed, so that each refresh reads it again: this client
    // cannot tell whether what it does not know is up to date.
    if (!content.IsNewer())
        SetStamp(stamp);
}

/// Whether the file is there and was changed by somebody else; false when that cannot be told.
bool CachedProjectInfo::IsStale() const noexcept
{
    try {
        const auto stamp = isMoved_ ? std::nullopt : IO::File::GetChangeStamp(FileLocation());
        return stamp && *stamp != stamp_;
    } catch (const std::exception&) {
        return false;
    }
}

/// Every error leaves the values as they are.
void CachedProjectInfo::TakeOver() noexcept
{
    try {
        if (IsStale())
            Load(true, true);
    } catch (const std::exception&) {
        // A file that is no whole one is replaced by the next write, and tried again by the next
        // look.
    }
}

void CachedProjectInfo::Refresh()
{
    // Writing takes over what stands there first.
    if (updateOpen_ && writePending_ && IsStale())
        WriteToDiscIfComplete(true);
    else
        TakeOver();
}

// What the client base asks

IO::Location CachedProjectInfo::_GetCacheFolderLocation(Dummy) const
{
    return cacheFolder_;
}
OV::Array<OV::UniString> CachedProjectInfo::_GetCacheEntryList(Dummy) const
{
    return {OV::UniString(CacheInfoFormat::FileName)};
}
std::int32_t CachedProjectInfo::_GetLastModificationTime(Dummy) const
{
    return modificationTime_;
}
OV::UniString CachedProjectInfo::_GetLoginName(Dummy) const
{
    return values_.loginName;
}
std::int32_t CachedProjectInfo::_GetLogonId(Dummy) const
{
    return values_.logonId;
}
OV::UniString CachedProjectInfo::_GetPassword(Dummy) const
{
    return OV::UniString(password_.View());
}
OV::HashSet<OV::UniString> CachedProjectInfo::_GetPermissions(Dummy) const
{
    return values_.permissions;
}
std::int16_t CachedProjectInfo::_GetPort(Dummy) const
{
    return values_.port;
}
OV::UniString CachedProjectInfo::_GetProjectId(Dummy) const
{
    return values_.projectId;
}
OV::UniString CachedProjectInfo::_GetProjectName(Dummy) const
{
    return values_.projectName;
}
OV::UniString CachedProjectInfo::_GetRoleName(Dummy) const
{
    return values_.roleName;
}
OV::UniString CachedProjectInfo::_GetServerName(Dummy) const
{
    return values_.serverName;
}
OV::UniString CachedProjectInfo::_GetSessionId(Dummy) const
{
    return values_.sessionId;
}
OV::UniString CachedProjectInfo::_GetUserId(Dummy) const
{
    return values_.userId;
}
OV::UniString CachedProjectInfo::_GetUserName_(Dummy) const
{
    return values_.userName;
}
bool CachedProjectInfo::_IsChanges(Dummy) const
{
    return values_.unsentChange;
}
bool CachedProjectInfo::_IsProjectForcedOffline(Dummy) const
{
    return values_.projectForcedOffline;
}
/// Reservations live on the server; a cache never stands for one.
bool CachedProjectInfo::_IsReservation(Dummy) const
{
    return false;
}
void CachedProjectInfo::_SetChanges(bool changes, Dummy)
{
    Change(&Values::unsentChange, changes);
}
void CachedProjectInfo::_SetProjectForcedOffline(bool forced, Dummy)
{
    Change(&Values::projectForcedOffline, forced);
}
void CachedProjectInfo::_SetSessionId(const OV::UniString& sessionId, Dummy)
{
    Change(&Values::sessionId, sessionId);
}

}  // namespace SYC
