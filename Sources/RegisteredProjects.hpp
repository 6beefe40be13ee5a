#pragma once

#include "CachedProjectInfoObserver.hpp"
#include "OVRoot/Export.hpp"
#include "RegisteredProject.hpp"
#include "Registry/CacheInfoRecord.hpp"
#include "SYDataOptionsObserver.hpp"

#include <atomic>
#include <memory>
#include <type_traits>

namespace SYC {

class CacheRegister;
class DataOptionsFile;

/// The projects cached on this computer, and the options that say where they stand and how the host
/// cleans them up ("SYDataOptions.xml", which all processes of the user share).
///
/// A project is named by its cache folder or by its project URL; a URL is looked for among the
/// caches of the main project folder, or of the data folder that a call names. Server names are
/// compared without regard to letter case, project and login names exactly unless
/// SetCaseSensitiveSearch says otherwise.
///
/// There is one registry a process; it lives until the end. Safe on any thread, but for the shared
/// images of caches (GetCachedProjectInfo): each of them belongs to one thread at a time, and the
/// calls below that change a project work on its image.
class SYC_API RegisteredProjects final : private CachedProjectInfoObserver,
                                         private SYDataOptionsObserver {
public:
    /// The names that callers know them by.
    /// @{
    using CacheInfoRecord = SYC::CacheInfoRecord;
    using ProjectIterator = OV::Array<RegisteredProject>::iterator;
    using ProjectConstIterator = OV::Array<RegisteredProject>::const_iterator;
    /// @}
    class Synchronizer;

    /// The one of this process, which lives until its end.
    [[nodiscard]] static RegisteredProjects& GetInstance();
    /// Sets where the data stands as long as the options file does not say otherwise, and the names
    /// of its subfolders for project caches and for caches of shared libraries; an empty name is
    /// the data folder itself. Reads nothing: RefreshData does. The options file is looked for in
    /// the user's folders as they are at this call. Throws OV::IllegalArgumentException as
    /// SetSYDataFolder does, and IO::IOException for folders of the user that cannot be used.
    static void Init(const IO::Location& dataFolder, const OV::UniString& projectFolderName = {},
                     const OV::UniString& libraryFolderName = {});
    /// Where a host keeps its data unless its user chose another folder: "Projects" in the
    /// company's application-data folder, which is created when missing.
    [[nodiscard]] static IO::Location GetDefaultDataFolder();

    // Options, as last read or set. A setter takes the lock of the file (see Synchronizer) and
    // writes at once, or when the outermost Synchronizer ends. A lock that cannot be had leaves the
    // change in memory until the next one, HasUnwrittenOptions tells; a file that cannot be written
    // or locked is shown to the user as an alert, after the lock is gone. Setters throw as
    // RefreshData and Synchronizer do.

    /// Where "SYDataOptions.xml" stands, or would.
    [[nodiscard]] IO::Location GetOptionsFileLocation() const;
    /// Where the data stands now.
    [[nodiscard]] IO::Location GetSYDataFolder() const;
    /// Without `save` the folder is used by this process alone, until another one is saved or the
    /// options file comes to name another one. Observers are told on this thread, or by the thread
    /// that ends the outermost Synchronizer. What is no local path from the root throws
    /// OV::IllegalArgumentException.
    void SetSYDataFolder(const IO::Location& folder, bool save);
    /// Whether the user wants caches to be cleaned up without being asked.
    /// @{
    [[nodiscard]] bool GetEnableAutoClean() const;
    void SetEnableAutoClean(bool enable);
    /// @}
    /// The units of these are the host's, which also decides when to clean.
    [[nodiscard]] std::int32_t GetPeriodTime() const;
    /// See GetPeriodTime.
    void SetPeriodTime(std::int32_t time);
    /// After how many days without being opened a cache is due (FindCachesToClean); 0 or less for
    /// never.
    /// @{
    [[nodiscard]] std::int32_t GetLastUsedDays() const;
    void SetLastUsedDays(std::int32_t days);
    /// @}
    /// When the host cleaned up last, as it noted it.
    /// @{
    [[nodiscard]] std::int32_t GetLastRunTime() const;
    void SetLastRunTime(std::int32_t time);
    /// @}
    /// Whether something was set that the file does not hold.
    [[nodiscard]] bool HasUnwrittenOptions() const;

    // The registry

    /// Reads the options file if it changed, and writes it with the current values where there is
    /// none. With `caches` also RefreshCaches(folder), the main project folder when it is empty.
    /// Throws FileOpenningError or ErrorReadingFile for options that cannot be read, and
    /// IO::IOException for a folder that cannot.
    void RefreshData(bool caches, const IO::Location& folder = {});
    /// Brings what is known of the folder's caches up to date: a look at each, and only what was
    /// changed is read. One that cannot be read is a record with a problem and no error. The shared
    /// images (GetCachedProjectInfo) below the folder that this thread was the last to ask for or
    /// to write are brought up to date as well; other threads do that with their own.
    void RefreshCaches(const IO::Location& folder);
    /// The same, unless it was done before.
    void RegisterCaches(const IO::Location& folder);
    /// The records of the caches directly below the folder, by name, those included that cannot be
    /// read. Registers the folder.
    void SearchCaches(const IO::Location& folder, OV::Array<CacheInfoRecord>& records) const;
    /// The registered projects among `records` of that server and login name, each empty for any,
    /// whose caches stand directly below one of `folders` (any when there is none): by project
    /// name, then server, login and folder name, capital and small letters A to Z alike.
    void FillProjects(OV::Array<RegisteredProject>& projects, const OV::UniString& serverName,
                      const OV::UniString& userName, const OV::Array<IO::Location>& folders,
                      const OV::Array<CacheInfoRecord>& records) const;

    /// Position of the project's record, good until the registry changes; false when there is none.
    /// With `look` the disk is asked whether it is still there, or there by now; throws
    /// FileOpenningError when the disk does not tell, as when the "CacheInfo.xml" that stands in
    /// the project's place cannot be read. One that can be read and is damaged is no cache.
    bool GetCacheIndex(const IO::Location& project, std::size_t& index, bool look,
                       const IO::Location& dataFolder = {});
    /// What is known of it; null when it is no readable cache. `look` as above.
    [[nodiscard]] std::shared_ptr<const CachedProjectInfo>
    GetCacheInfo(const IO::Location& project, bool look, const IO::Location& dataFolder = {});
    /// The one image of the cache that all callers share, for as long as anybody holds it; up to
    /// date; null when there is none. Looks, and throws as GetCacheIndex does.
    [[nodiscard]] std::shared_ptr<CachedProjectInfo>
    GetCachedProjectInfo(const IO::Location& project, const IO::Location& dataFolder = {});
    /// A new cache for a project URL, shared likewise, in a folder of its own. Throws
    /// IO::IOException when none can be made, OV::IllegalArgumentException for no project URL, and
    /// FileOpenningError when one of that project may be there and cannot be read.
    [[nodiscard]] std::shared_ptr<CachedProjectInfo>
    CreateCachedProjectInfo(const IO::Location& projectUrl, const IO::Location& dataFolder = {});
    /// Deletes the cache with all that the host keeps in it; false when there is none. Of a cache
    /// folder that is a link only the link goes. Throws UnsentWorkException, unless `force`, when
    /// changes or mails wait to be sent, or what cannot be read may hold some (see CleanUp.hpp);
    /// what is left of an earlier removal goes without. Throws FileOpenningError when that cannot
    /// be found out, otherwise IO::IOException; with IO::ErrorCode::HeldByOther when a program has
    /// the project open (see CleanUp.hpp); what is left is listed as a cache of its own, called
    /// "... .removed", and can be removed again.
    bool RemoveProject(const IO::Location& project, bool force = false);

    /// How many records there are.
    [[nodiscard]] std::size_t GetCacheDataFolderNum() const;
    /// An empty location when there are fewer records.
    [[nodiscard]] IO::Location GetCacheDataFolder(std::size_t index) const;
    /// The subfolders of the data folder that Init named.
    /// @{
    [[nodiscard]] IO::Location GetMainProjectCacheFolderLocation() const;
    [[nodiscard]] IO::Location GetMainLibCacheFolderLocation() const;
    /// @}
    /// Whether project and login names count to the letter; server names never do.
    /// @{
    [[nodiscard]] bool IsCaseSensitiveSearch() const { return mCaseSensitiveSearch; }
    void SetCaseSensitiveSearch(bool sensitive) { mCaseSensitiveSearch = sensitive; }
    /// @}
    /// Forgets all records; the caches stay.
    void Clear();
    /// Forgets the records and the options, as before the first Init. Ends the hold of a
    /// Synchronizer that is still open; what was set under it is written.
    void Reset();

    // One project. Getters answer with an empty value for one that is not registered, setters with
    // false. What is known is used as it is, and what is not is looked for on the disk. All throw
    // as GetCacheIndex does, getters only when they look.

    /// Records that it was opened now.
    bool ProjectOpened(const IO::Location& project);
    /// The server's ids of project and user.
    bool GetIDs(const IO::Location& project, OV::UniString& projectId, OV::UniString& userId);
    /// Seconds since 1970-01-01 UTC; 0 for never.
    [[nodiscard]] std::int32_t GetLastOpenedTime(const IO::Location& project);
    /// Version text and build number of the project's data format.
    /// @{
    [[nodiscard]] OV::UniString GetProjectVersion(const IO::Location& project);
    bool SetProjectVersion(const IO::Location& project, const OV::UniString& version);
    [[nodiscard]] std::int32_t GetProjectBuildNum(const IO::Location& project);
    bool SetProjectBuildNum(const IO::Location& project, std::int32_t build);
    /// @}
    /// Whether the cache is detached from its project on the server, which it becomes for good.
    /// @{
    [[nodiscard]] bool IsProjectDetached(const IO::Location& project);
    bool ProjectDetached(const IO::Location& project);
    /// @}
    /// When the package was made that takes the cache to another computer; 0 for never.
    /// @{
    [[nodiscard]] std::int32_t GetTravelPackageCreationTime(const IO::Location& project);
    bool SetTravelPackageCreationTime(const IO::Location& project, std::int32_t time);
    /// @}
    /// Whether such a package was made.
    /// @{
    [[nodiscard]] bool IsTravelPackageCreated(const IO::Location& project);
    bool SetTravelPackageCreated(const IO::Location& project, bool created);
    /// @}
    /// Whether the cache came in such a package.
    /// @{
    [[nodiscard]] bool ExtractedFromTravelPackage(const IO::Location& project);
    bool SetExtractedFromTravelPackage(const IO::Location& project, bool extracted);
    /// @}
    /// Whether the host warns of the package when the project is closed.
    /// @{
    [[nodiscard]] bool IsEnabledTravelPackageWarningAtClose(const IO::Location& project);
    bool EnableTravelPackageWarningAtClose(const IO::Location& project, bool enable);
    /// @}

private:
    RegisteredProjects();
    ~RegisteredProjects() override;

    void ContentWrittenToDisc(const CachedProjectInfo& info) override;
    void SYDataFolderChanged() override;

    [[nodiscard]] std::shared_ptr<DataOptionsFile> Options() const;
    [[nodiscard]] IO::Location ProjectFolder(const IO::Location& dataFolder) const;
    [[nodiscard]] bool FindByUrl(const IO::Location& url, std::size_t& index, bool look,
                                 const IO::Location& folder);
    template <class Result>
    [[nodiscard]] auto Ask(const IO::Location& project, Result (CachedProjectInfo::*getter)() const)
        -> std::remove_cvref_t<Result>;
    template <class... Arguments, class... Given>
    bool Tell(const IO::Location& project, void (CachedProjectInfo::*setter)(Arguments...),
              const Given&... arguments);

    /// What a call works with is replaced by Init and Reset, and lives until the call ends.
    struct Settings;
    std::unique_ptr<Settings> settings_;
    std::unique_ptr<CacheRegister> mCacheInforegister;
    std::atomic<bool> mCaseSensitiveSearch = true;
};

/// The registry of this process.
[[nodiscard]] SYC_API RegisteredProjects& registeredProjects();

}  // namespace SYC
