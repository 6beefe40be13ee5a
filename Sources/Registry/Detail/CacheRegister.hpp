#pragma once

#include "Cache/Detail/CacheFolders.hpp"
#include "OVRoot/Lock.hpp"
#include "Registry/CacheInfoRecord.hpp"

#include <exception>
#include <optional>
#include <thread>
#include <unordered_map>

namespace SYC {

/// The caches below any number of data folders, found by folder and by connection in constant time.
/// Files are read with no lock held, and only those that changed. Safe on any thread; the shared
/// images are as CachedProjectInfo says: each belongs to the thread that last asked for it or wrote
/// it.
class CacheRegister {
public:
    using ConnectionInfo = Inner::ProjectConnectionInfo;

    /// Brings what is known of the data folder up to date; at first that is nothing. The shared
    /// images of this thread are refreshed as well.
    void Refresh(const IO::Location& dataFolder);
    /// Whether Refresh was called for it since the last Clear.
    [[nodiscard]] bool IsRegistered(const IO::Location& dataFolder) const;
    /// Forgets everything but the shared images, which somebody may work on.
    void Clear();

    [[nodiscard]] std::size_t GetCount() const;
    /// Nothing behind the end. Positions change with every other call that is not const.
    [[nodiscard]] std::optional<CacheInfoRecord> At(std::size_t position) const;
    /// Those directly below `dataFolder`, by name.
    [[nodiscard]] OV::Array<CacheInfoRecord> GetRecords(const IO::Location& dataFolder) const;
    [[nodiscard]] std::optional<std::size_t> Find(const IO::Location& cacheFolder) const;
    /// Of several caches of one connection, the first by folder name; with letter case left out of
    /// account, one that is written as asked goes before those that are not.
    [[nodiscard]] std::optional<std::size_t> Find(const IO::Location& dataFolder,
                                                  const ConnectionInfo& connection,
                                                  bool isCaseSensitive) const;

    /// Looks at one folder alone: reads it, or forgets it when it is no cache any more. Throws
    /// FileOpenningError when that cannot be found out.
    void Look(const IO::Location& cacheFolder);
    /// Throws what kept the cache in that folder from being read, unless it was read and is
    /// damaged: such a cache is neither absent nor to be passed over.
    void RequireRead(const IO::Location& cacheFolder) const;
    /// The same for all that stand where a cache of that connection would.
    void RequireRead(const IO::Location& dataFolder, const ConnectionInfo& connection) const;
    /// Takes over what has just been written, when it stands below a data folder that is known.
    void Written(const CachedProjectInfo& info);
    void Forget(const IO::Location& cacheFolder);

    /// The one image of that cache that everybody who asks shares, up to date. Throws as the
    /// constructor of CachedProjectInfo does.
    [[nodiscard]] std::shared_ptr<CachedProjectInfo> Share(const IO::Location& cacheFolder);
    /// A new cache, shared likewise; throws as RequireRead does. Where somebody still holds the
    /// image of a cache that was removed from the same folder, that one becomes the image of the
    /// new cache.
    [[nodiscard]] std::shared_ptr<CachedProjectInfo> Create(const ConnectionInfo& connection,
                                                            const IO::Location& dataFolder);

private:
    struct Entry {
        CacheInfoRecord record;
        /// Of the file that the record was made from.
        IO::ChangeStamp stamp;
        /// What kept the file from being read; null when it was, and holds a cache or damage.
        std::exception_ptr obstacle;
        /// The count of its last change, so that a refresh does not undo what came after it began.
        std::uint64_t touched = 0;
        /// The look at the disk that last found it.
        std::uint64_t seen = 0;
        OV::UniString key;
    };
    struct Image {
        std::weak_ptr<CachedProjectInfo> shared;
        /// Of the shared one, which tells who wrote.
        const CachedProjectInfo* address = nullptr;
        std::thread::id owner;
    };
    struct DataFolder {
        OV::HashTable<OV::UniString, std::size_t> positions;
        bool isRegistered = false;
    };

    void Read(const IO::Location& cacheFolder, const IO::ChangeStamp& stamp, std::uint64_t began);
    /// The caches that could not be read and stand where one of that connection would.
    [[nodiscard]] OV::Array<CacheInfoRecord> WithoutInfo(const IO::Location& dataFolder,
                                                         const ConnectionInfo& connection) const;
    /// Those of `found` that have to be read; forgets what is not among them.
    [[nodiscard]] OV::Array<CacheFolders::Found> Compare(const IO::Location& dataFolder,
                                                         OV::Array<CacheFolders::Found> found,
                                                         std::uint64_t began);
    void RemoveUnseen(const DataFolder& folder, std::uint64_t look, std::uint64_t began)
        OV_REQUIRES(lock_);
    [[nodiscard]] std::uint64_t Changes() const;
    [[nodiscard]] std::shared_ptr<CachedProjectInfo> Shared(const IO::Location& cacheFolder)
        OV_REQUIRES(lock_);
    [[nodiscard]] std::shared_ptr<CachedProjectInfo>
    ShareUnlessShared(std::shared_ptr<CachedProjectInfo> image);
    void RefreshImages(const IO::Location& dataFolder);
    void NoteWriter(const CachedProjectInfo& info) OV_REQUIRES(lock_);
    void PutImage(const std::shared_ptr<CachedProjectInfo>& image) OV_REQUIRES(lock_);

    void Put(CacheInfoRecord record, const IO::ChangeStamp& stamp,
             std::exception_ptr obstacle = nullptr) OV_REQUIRES(lock_);
    void Remove(std::size_t position) OV_REQUIRES(lock_);
    void Connect(std::size_t position) OV_REQUIRES(lock_);
    void Disconnect(std::size_t position) OV_REQUIRES(lock_);
    [[nodiscard]] std::optional<std::size_t> PositionOf(const IO::Location& cacheFolder) const
        OV_REQUIRES(lock_);

    mutable OV::Lock lock_;
    OV::Array<Entry> entries_ OV_GUARDED_BY(lock_);
    OV::HashTable<IO::Location, DataFolder> folders_ OV_GUARDED_BY(lock_);
    std::unordered_multimap<OV::UniString, std::size_t> byConnection_ OV_GUARDED_BY(lock_);
    /// By cache folder, whatever becomes of the entries: a second image of one file would write
    /// back what the first one replaced. Those that nobody holds any more are dropped now and then.
    OV::HashTable<IO::Location, Image> images_ OV_GUARDED_BY(lock_);
    std::size_t imagesToDropAt_ OV_GUARDED_BY(lock_) = 16;
    std::uint64_t changes_ OV_GUARDED_BY(lock_) = 0;
};

}  // namespace SYC
