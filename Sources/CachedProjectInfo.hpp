#pragma once

#include "Cache/CacheInfoValues.hpp"
#include "IO/File.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SYClientBase/CachedProjectInfoInterface.hpp"

#include <memory>
#include <optional>

namespace Syncra::Server::ManagementTool::Core {
enum class FileAlert : int;
}

namespace SYC {

/// The image in memory of one cache folder's "CacheInfo.xml": who the user is on which server, the
/// session, role and permissions, and what is local to this machine.
///
/// A setter that really changes something writes the file at once, as a whole, and tells the
/// observers (CachedProjectInfoObserver) on the calling thread. A write that fails is shown to the
/// user as an alert and never thrown; the values in memory stay, go with the next write, and
/// HasUnwrittenValues tells of them. Not for a thread that holds a lock
/// which an observer or an alert may need.
///
/// Several processes may have an image of one file. What another one wrote since this image last
/// saw the file is taken over by a setter, by BeginUpdate and by each write: the other values
/// become those of the file, and only what was set here is changed in it. That costs a look at the
/// file. A file that cannot be read is replaced.
///
/// Copies share nothing but the folder. One thread at a time for each object. The setters and
/// getters that the client base needs are inherited.
class SYC_API CachedProjectInfo final : public SYCB::CachedProjectInfo {
public:
    /// The cache in an existing folder, read at once. Throws FileOpenningError or ErrorReadingFile
    /// (ManagementTool/FileErrors.hpp) with the place of the file.
    explicit CachedProjectInfo(const IO::Location& cacheFolder);
    /// A new cache for that connection in a folder of its own below `parentFolder`, written at
    /// once. Throws IO::IOException when no folder can be made.
    CachedProjectInfo(const Inner::ProjectConnectionInfo& info, const IO::Location& parentFolder);
    CachedProjectInfo(const CachedProjectInfo&) = default;
    CachedProjectInfo& operator=(const CachedProjectInfo&) = default;

    /// Whether the folder holds a file "CacheInfo.xml"; false when that cannot be found out.
    [[nodiscard]] static bool CachedProjectInfoExist(const IO::Location& folder);
    /// Where "CacheInfo.xml" stands, or would.
    void GetCacheInfoFileLocation(IO::Location& out) const;

    /// The connection that the cache belongs to. The password is the one set in this process. The
    /// flag stays as it is.
    void GetProjectConnectionInfo(Inner::ProjectConnectionInfo& out) const;
    /// Takes over what differs (server names without regard to case) and writes once if anything
    /// did. Returns whether anything did. The password is always taken over and by itself is no
    /// change, for the file does not hold it.
    bool SetProjectConnectionInfo(const Inner::ProjectConnectionInfo& info);

    /// Of the user and his session in the project, as the server told them last.
    /// @{
    void SetUserName(const OV::UniString& name);
    void SetUserId(const OV::UniString& id);
    void SetProjectId(const OV::UniString& id);
    void SetLogonId(std::int32_t id);
    void SetRoleName(const OV::UniString& name);
    void SetPermissions(const OV::HashSet<OV::UniString>& permissions);
    void SetUnsentChanges(bool unsent) { SetChanges(unsent); }
    /// @}

    /// The category that lists show the project under; empty for none.
    /// @{
    [[nodiscard]] const OV::UniString& GetCategoryName() const;
    void SetCategoryName(const OV::UniString& name);
    /// @}
    /// The host's own text of colours given to users.
    /// @{
    [[nodiscard]] const OV::UniString& GetUserColorListString() const;
    void SetUserColorListString(const OV::UniString& text);
    /// @}
    /// The host's own number.
    /// @{
    [[nodiscard]] std::int16_t GetColorMode() const;
    void SetColorMode(std::int16_t mode);
    /// @}
    /// Times are seconds since 1970-01-01 UTC.
    [[nodiscard]] std::int32_t GetLastOpenProjectTime() const;
    /// As GetLastOpenProjectTime gives it.
    void SetLastOpenProjectTime(std::int32_t time);
    /// When the package was made that takes the cache to another computer; 0 for never.
    /// @{
    [[nodiscard]] std::int32_t GetTravelPackageCreationTime() const;
    void SetTravelPackageCreationTime(std::int32_t time);
    /// @}
    /// Whether such a package was made.
    /// @{
    [[nodiscard]] bool IsTravelPackageCreated() const;
    void SetTravelPackageCreated(bool created);
    /// @}
    /// Whether this cache came in such a package.
    /// @{
    [[nodiscard]] bool ExtractedFromTravelPackage() const;
    void SetExtractedFromTravelPackage(bool extracted);
    /// @}
    /// Whether the host warns of the package when the project is closed.
    /// @{
    [[nodiscard]] bool IsEnabledTravelPackageWarningAtClose() const;
    void EnableTravelPackageWarningAtClose(bool enable);
    /// @}
    /// Version text of the project's data format; empty when it is not known.
    /// @{
    [[nodiscard]] const OV::UniString& GetProjectVersion() const;
    void SetProjectVersion(const OV::UniString& version);
    /// @}
    /// Build number of the project's data format; 0 when it is not known.
    /// @{
    [[nodiscard]] std::int32_t GetProjectBuildNum() const;
    void SetProjectBuildNum(std::int32_t build);
    /// @}
    /// Whether the server's project is gone or another one.
    [[nodiscard]] bool IsProjectDetached() const;
    /// Marks the cache as detached from its project on the server, for good.
    void ProjectDetached();
    /// Clear text, in memory only; empty after reading. Who copies it wipes it.
    using SYCB::CachedProjectInfo::GetPassword;
    /// Wipes the password; GetPassword gives none until it is set again.
    void ForgetPassword() { password_ = {}; }
    /// Of "CacheInfo.xml" when it was last read or written here.
    [[nodiscard]] std::int32_t GetModificationTime() const;
    /// The same moment in the file system's full resolution, for change detection.
    [[nodiscard]] const IO::ChangeStamp& GetChangeStamp() const;
    /// Moves the object, not the files, to another folder, and writes there, over what stands
    /// there.
    void SetCacheFolder(const IO::Location& folder);
    /// Last component of the cache folder.
    [[nodiscard]] OV::UniString GetLocalFolderName() const;
    /// Size of the cache folder in whole mebibytes, rounded down; 0 when it cannot be counted.
    [[nodiscard]] std::uint32_t GetSpace_Mbyte() const;
    /// Whether everything is there that working with the server's project needs.
    [[nodiscard]] bool IsComplete() const;

    /// Whether something was set that is not in the file: it is lost with the process unless a
    /// later write succeeds.
    [[nodiscard]] bool HasUnwrittenValues() const noexcept { return former_ || isMoved_; }

    /// Between the two, setters only mark a write as pending; EndUpdate then writes once. Brackets
    /// do not nest: the first EndUpdate closes.
    void BeginUpdate();
    /// Writes what was set since BeginUpdate, if anything.
    void EndUpdate();
    /// Writes now, inside a bracket too.
    void WriteToDisc();
    /// Outside a bracket, or with `force`, writes now; else marks the write as pending. In spite of
    /// its name it writes whether or not IsComplete: a new cache is written before its first
    /// session.
    void WriteToDiscIfComplete(bool force);
    /// Replaces the values by those of the file, all of them or, when this throws as the
    /// constructor does, none. A write that is pending in an open bracket is done first. `again`
    /// says that the object was read before, for the log alone.
    void ReadFromDisc(bool again);
    /// Reads the file again if it was changed by somebody else; what was set here and could not be
    /// written stays. Every error leaves the values as they are and is not reported: the next call
    /// tries again.
    void Refresh();

private:
    IO::Location _GetCacheFolderLocation(Dummy) const override;
    OV::Array<OV::UniString> _GetCacheEntryList(Dummy) const override;
    std::int32_t _GetLastModificationTime(Dummy) const override;
    OV::UniString _GetLoginName(Dummy) const override;
    std::int32_t _GetLogonId(Dummy) const override;
    OV::UniString _GetPassword(Dummy) const override;
    OV::HashSet<OV::UniString> _GetPermissions(Dummy) const override;
    std::int16_t _GetPort(Dummy) const override;
    OV::UniString _GetProjectId(Dummy) const override;
    OV::UniString _GetProjectName(Dummy) const override;
    OV::UniString _GetRoleName(Dummy) const override;
    OV::UniString _GetServerName(Dummy) const override;
    OV::UniString _GetSessionId(Dummy) const override;
    OV::UniString _GetUserId(Dummy) const override;
    OV::UniString _GetUserName_(Dummy) const override;
    bool _IsChanges(Dummy) const override;
    bool _IsProjectForcedOffline(Dummy) const override;
    bool _IsReservation(Dummy) const override;
    void _SetChanges(bool changes, Dummy) override;
    void _SetProjectForcedOffline(bool forced, Dummy) override;
    void _SetSessionId(const OV::UniString& sessionId, Dummy) override;

    using FileAlert = Syncra::Server::ManagementTool::Core::FileAlert;

    [[nodiscard]] IO::Location FileLocation() const;
    void SetStamp(const IO::ChangeStamp& stamp);
    [[nodiscard]] bool Assign(const Inner::ProjectConnectionInfo& info);
    template <class Value>
    [[nodiscard]] bool Assign(Value CacheInfoValues::*member, const Value& value);
    void BeginChange();
    template <class Value>
    void Change(Value CacheInfoValues::*member, const Value& value);
    [[nodiscard]] bool IsStale() const noexcept;
    void TakeOver() noexcept;
    void Load(bool again, bool keepsChanges);
    [[nodiscard]] std::optional<FileAlert> Write();
    void EndWrite(std::optional<FileAlert> failure);

    CacheInfoValues values_;
    CacheInfoAdditions additions_;
    /// The values without what was set here and is not in the file yet; null when nothing is.
    std::shared_ptr<const CacheInfoValues> former_;
    IO::Location cacheFolder_;
    std::int32_t modificationTime_ = 0;
    IO::ChangeStamp stamp_;
    bool updateOpen_ = false;
    bool writePending_ = false;
    /// To another folder, and not written there yet.
    bool isMoved_ = false;
    OV::Secret password_;
};

}  // namespace SYC
