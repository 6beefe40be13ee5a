#include "Registry/Detail/CacheRegister.hpp"

#include "Cache/CacheInfoFormat.hpp"
#include "Files/FileErrors.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Format.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>

namespace SYC {

namespace Core = Syncra::Server::ManagementTool::Core;

namespace {

using Inner::ProjectConnectionInfo;

/// Equal for connections that differ in letter case alone.
OV::UniString KeyOf(const IO::Location& dataFolder, const ProjectConnectionInfo& connection)
{
    OV::UniString key = dataFolder.ToPath();
    for (const auto& part : {OV::Folded(connection.serverName), OV::ToText(connection.port),
                             OV::Folded(connection.projectName), OV::Folded(connection.userName)})
        key.append(1, u'\0').append(part);
    return key;
}

ProjectConnectionInfo ConnectionOf(const CachedProjectInfo& info)
{
    ProjectConnectionInfo connection;
    info.GetProjectConnectionInfo(connection);
    return connection;
}

bool IsWrittenAlike(const CacheInfoRecord& record, const ProjectConnectionInfo& connection)
{
    return record.info->GetProjectName() == connection.projectName &&
           record.info->GetLoginName() == connection.userName;
}

/// What stays here for long holds no password.
std::shared_ptr<const CachedProjectInfo> WithoutPassword(const CachedProjectInfo& info)
{
    auto copy = std::make_shared<CachedProjectInfo>(info);
    copy->ForgetPassword();
    return copy;
}

struct Reading {
    CacheInfoRecord record;
    std::exception_ptr obstacle;
};

/// Whatever one file does costs the others nothing.
Reading ReadRecord(const IO::Location& folder)
{
    try {
        return {{folder, std::make_shared<const CachedProjectInfo>(folder), {}}, nullptr};
    } catch (const Core::ErrorReadingFile& damage) {
        return {{folder, nullptr, damage.GetMessage()}, nullptr};
    } catch (const OV::Exception& error) {
        return {{folder, nullptr, error.GetMessage()}, std::current_exception()};
    } catch (const std::exception& error) {
        return {{folder, nullptr,
                 OV::FormatText(u"Reading the cache \"%\" failed: %",
                                {folder.ToDisplayText(), error.what()})},
                std::current_exception()};
    }
}

/// Nothing when there is none.
std::optional<IO::ChangeStamp> StampOfFile(const IO::Location& cacheFolder)
{
    const IO::Location file = cacheFolder.Appended(CacheInfoFormat::FileName);
    try {
        return IO::File::Exists(file) ? IO::File::GetChangeStamp(file) : std::nullopt;
    } catch (const IO::IOException& error) {
        throw Core::FileOpenningError(file, error);
    }
}

/// False when that cannot be told.
bool IsGone(const IO::Location& cacheFolder)
{
    try {
        return !StampOfFile(cacheFolder);
    } catch (const Core::FileOpenningError&) {
        return false;
    }
}

}  // namespace

// Reading

OV::Array<CacheFolders::Found> CacheRegister::Compare(const IO::Location& dataFolder,
                                                      OV::Array<CacheFolders::Found> found,
                                                      std::uint64_t began)
{
    const OV::LockGuard guard(lock_);
    DataFolder& known = folders_[dataFolder];
    known.isRegistered = true;
    std::size_t stillThere = 0;
    const std::uint64_t look = ++changes_;
    const auto isUnchanged = [&](const CacheFolders::Found& each) OV_NO_ANALYSIS {
        const auto at = known.positions.find(each.name);
        if (at == known.positions.end())
            return false;
        Entry& entry = entries_[at->second];
        entry.seen = look;
        ++stillThere;
        // One that could not be read is tried again: rights change without a new stamp.
        return entry.stamp == each.stamp && entry.record.info != nullptr;
    };
    std::erase_if(found, isUnchanged);
    if (stillThere < known.positions.size())
        RemoveUnseen(known, look, began);
    return found;
}

void CacheRegister::RemoveUnseen(const DataFolder& folder, std::uint64_t look, std::uint64_t began)
{
    OV::Array<IO::Location> gone;
    for (const auto& [name, position] : folder.positions) {
        const Entry& entry = entries_[position];
        if (entry.seen != look && entry.touched <= began)
            gone.push_back(entry.record.folder);
    }
    for (const auto& each : gone)
        Remove(*PositionOf(each));
}

void CacheRegister::Refresh(const IO::Location& dataFolder)
{
    const std::uint64_t began = Changes();
    for (const auto& each : Compare(dataFolder, CacheFolders::Find(dataFolder), began))
        Read(dataFolder.Appended(each.name), each.stamp, began);
    RefreshImages(dataFolder);
}

void CacheRegister::Read(const IO::Location& cacheFolder, const IO::ChangeStamp& stamp,
                         std::uint64_t began)
{
    auto [record, obstacle] = ReadRecord(cacheFolder);
    // One that another process removed since it was found is not a damaged one.
    const bool isGone = !record.info && IsGone(cacheFolder);
    const OV::LockGuard guard(lock_);
    const auto position = PositionOf(cacheFolder);
    // What was written here meanwhile is newer.
    if (position && entries_[*position].touched > began)
        return;
    if (!isGone)
        Put(std::move(record), stamp, std::move(obstacle));
    else if (position)
        Remove(*position);
}

void CacheRegister::Look(const IO::Location& cacheFolder)
{
    const std::uint64_t began = Changes();
    const auto stamp = StampOfFile(cacheFolder);
    if (!stamp)
        return Forget(cacheFolder);
    {
        const OV::LockGuard guard(lock_);
        const auto position = PositionOf(cacheFolder);
        if (position && entries_[*position].stamp == *stamp && entries_[*position].record.info)
            return;
    }
    Read(cacheFolder, *stamp, began);
}

void CacheRegister::RequireRead(const IO::Location& cacheFolder) const
{
    std::exception_ptr obstacle;
    {
        const OV::LockGuard guard(lock_);
        if (const auto position = PositionOf(cacheFolder))
            obstacle = entries_[*position].obstacle;
    }
    if (obstacle)
        std::rethrow_exception(obstacle);
}

OV::Array<CacheInfoRecord> CacheRegister::WithoutInfo(const IO::Location& dataFolder,
                                                      const ConnectionInfo& connection) const
{
    OV::Array<CacheInfoRecord> records;
    const OV::LockGuard guard(lock_);
    const auto known = folders_.find(dataFolder);
    if (known == folders_.end())
        return records;
    for (const auto& [name, position] : known->second.positions)
        if (const auto& record = entries_[position].record;
            !record.info && CacheFolders::IsNameOf(name, connection))
            records.push_back(record);
    return records;
}

void CacheRegister::RequireRead(const IO::Location& dataFolder,
                                const ConnectionInfo& connection) const
{
    for (const auto& record : WithoutInfo(dataFolder, connection))
        RequireRead(record.folder);
}

void CacheRegister::Written(const CachedProjectInfo& info)
{
    const IO::Location folder = info.GetCacheFolderLocation();
    auto copy = WithoutPassword(info);
    const OV::LockGuard guard(lock_);
    NoteWriter(info);
    if (folders_.contains(folder.Parent()))
        Put({folder, std::move(copy), {}}, info.GetChangeStamp());
}

// The entries and their two indexes

std::uint64_t CacheRegister::Changes() const
{
    const OV::LockGuard guard(lock_);
    return changes_;
}

std::optional<std::size_t> CacheRegister::PositionOf(const IO::Location& cacheFolder) const
{
    const auto folder = folders_.find(cacheFolder.Parent());
    if (folder == folders_.end())
        return std::nullopt;
    const auto at = folder->second.positions.find(cacheFolder.LastComponent());
    return at == folder->second.positions.end() ? std::nullopt : std::optional(at->second);
}

void CacheRegister::Put(CacheInfoRecord record, const IO::ChangeStamp& stamp,
                        std::exception_ptr obstacle)
{
    const IO::Location& folder = record.folder;
    const auto [at, isNew] =
        folders_[folder.Parent()].positions.try_emplace(folder.LastComponent(), entries_.size());
    const std::size_t position = at->second;
    if (isNew)
        entries_.emplace_back();
    else
        Disconnect(position);
    Entry& entry = entries_[position];
    entry.record = std::move(record);
    entry.stamp = stamp;
    entry.obstacle = std::move(obstacle);
    entry.touched = ++changes_;
    Connect(position);
}

void CacheRegister::Connect(std::size_t position)
{
    Entry& entry = entries_[position];
    entry.key.clear();
    if (!entry.record.info)
        return;
    const auto connection = ConnectionOf(*entry.record.info);
    // Half a cache is there to be removed, not to be opened.
    if (CacheFolders::IsRemains(entry.record.folder, connection))
        return;
    entry.key = KeyOf(entry.record.folder.Parent(), connection);
    byConnection_.emplace(entry.key, position);
}

void CacheRegister::Disconnect(std::size_t position)
{
    const auto [begin, end] = byConnection_.equal_range(entries_[position].key);
    const auto at =
        std::find_if(begin, end, [&](const auto& each) { return each.second == position; });
    if (at != end)
        byConnection_.erase(at);
}

void CacheRegister::Remove(std::size_t position)
{
    const IO::Location folder = entries_[position].record.folder;
    Disconnect(position);
    folders_[folder.Parent()].positions.erase(folder.LastComponent());
    ++changes_;
    if (const std::size_t last = entries_.size() - 1; position != last) {
        Disconnect(last);
        entries_[position] = std::move(entries_[last]);
        const IO::Location& moved = entries_[position].record.folder;
        folders_[moved.Parent()].positions[moved.LastComponent()] = position;
        Connect(position);
    }
    entries_.pop_back();
}

void CacheRegister::Forget(const IO::Location& cacheFolder)
{
    const OV::LockGuard guard(lock_);
    if (const auto position = PositionOf(cacheFolder))
        Remove(*position);
}

void CacheRegister::Clear()
{
    const OV::LockGuard guard(lock_);
    entries_.clear();
    folders_.clear();
    byConnection_.clear();
}

// Looking up

bool CacheRegister::IsRegistered(const IO::Location& dataFolder) const
{
    const OV::LockGuard guard(lock_);
    const auto known = folders_.find(dataFolder);
    return known != folders_.end() && known->second.isRegistered;
}

std::size_t CacheRegister::GetCount() const
{
    const OV::LockGuard guard(lock_);
    return entries_.size();
}

std::optional<CacheInfoRecord> CacheRegister::At(std::size_t position) const
{
    const OV::LockGuard guard(lock_);
    return position < entries_.size() ? std::optional(entries_[position].record) : std::nullopt;
}

OV::Array<CacheInfoRecord> CacheRegister::GetRecords(const IO::Location& dataFolder) const
{
    OV::Array<CacheInfoRecord> records;
    {
        const OV::LockGuard guard(lock_);
        const auto known = folders_.find(dataFolder);
        if (known == folders_.end())
            return records;
        for (const auto& [name, position] : known->second.positions)
            records.push_back(entries_[position].record);
    }
    std::sort(records.begin(), records.end(), [](const auto& left, const auto& right) {
        return left.folder.LastComponent() < right.folder.LastComponent();
    });
    return records;
}

std::optional<std::size_t> CacheRegister::Find(const IO::Location& cacheFolder) const
{
    const OV::LockGuard guard(lock_);
    return PositionOf(cacheFolder);
}

std::optional<std::size_t> CacheRegister::Find(const IO::Location& dataFolder,
                                               const ConnectionInfo& connection,
                                               bool isCaseSensitive) const
{
    const OV::LockGuard guard(lock_);
    const auto rank = [&](std::size_t position) OV_NO_ANALYSIS {
        const CacheInfoRecord& record = entries_[position].record;
        return std::pair(!IsWrittenAlike(record, connection), record.folder.LastComponent());
    };
    std::optional<std::size_t> best;
    const auto [begin, end] = byConnection_.equal_range(KeyOf(dataFolder, connection));
    for (auto at = begin; at != end; ++at)
        if (!best || rank(at->second) < rank(*best))
            best = at->second;
    return best && isCaseSensitive && rank(*best).first ? std::nullopt : best;
}

// Shared images

std::shared_ptr<CachedProjectInfo> CacheRegister::Shared(const IO::Location& cacheFolder)
{
    const auto known = images_.find(cacheFolder);
    auto image = known == images_.end() ? nullptr : known->second.shared.lock();
    if (image)
        known->second.owner = std::this_thread::get_id();
    return image;
}

void CacheRegister::PutImage(const std::shared_ptr<CachedProjectInfo>& image)
{
    if (images_.size() >= imagesToDropAt_) {
        std::erase_if(images_, [](const auto& each) { return each.second.shared.expired(); });
        imagesToDropAt_ = std::max(imagesToDropAt_, 2 * images_.size());
    }
    images_[image->GetCacheFolderLocation()] = {image, image.get(), std::this_thread::get_id()};
}

/// An image is found by the folder that it last wrote to, and is the writing thread's.
void CacheRegister::NoteWriter(const CachedProjectInfo& info)
{
    const auto isIt = [&](const Image& image) {
        return image.address == &info && !image.shared.expired();
    };
    const auto here = images_.find(info.GetCacheFolderLocation());
    if (here != images_.end() && isIt(here->second)) {
        here->second.owner = std::this_thread::get_id();
        return;
    }
    const auto moved = std::find_if(images_.begin(), images_.end(),
                                    [&](const auto& each) { return isIt(each.second); });
    if (moved == images_.end())
        return;
    const auto image = moved->second.shared.lock();
    images_.erase(moved);
    if (image)
        PutImage(image);
}

void CacheRegister::RefreshImages(const IO::Location& dataFolder)
{
    OV::Array<std::shared_ptr<CachedProjectInfo>> own;
    {
        const OV::LockGuard guard(lock_);
        for (const auto& [folder, image] : images_)
            if (image.owner == std::this_thread::get_id() && folder.Parent() == dataFolder)
                own.push_back(image.shared.lock());
    }
    for (const auto& image : own)
        if (image)
            image->Refresh();
}

std::shared_ptr<CachedProjectInfo>
CacheRegister::ShareUnlessShared(std::shared_ptr<CachedProjectInfo> image)
{
    auto copy = WithoutPassword(*image);
    const IO::Location folder = image->GetCacheFolderLocation();
    const OV::LockGuard guard(lock_);
    Put({folder, std::move(copy), {}}, image->GetChangeStamp());
    if (auto other = Shared(folder))
        return other;
    PutImage(image);
    return image;
}

std::shared_ptr<CachedProjectInfo> CacheRegister::Share(const IO::Location& cacheFolder)
{
    std::shared_ptr<CachedProjectInfo> image;
    {
        const OV::LockGuard guard(lock_);
        image = Shared(cacheFolder);
    }
    if (!image || !CachedProjectInfo::CachedProjectInfoExist(cacheFolder))
        return ShareUnlessShared(std::make_shared<CachedProjectInfo>(cacheFolder));
    image->Refresh();
    return image;
}

std::shared_ptr<CachedProjectInfo> CacheRegister::Create(const ConnectionInfo& connection,
                                                         const IO::Location& dataFolder)
{
    Look(dataFolder.Appended(CacheFolders::MakeName(connection)));
    RequireRead(dataFolder, connection);
    for (const auto& damaged : WithoutInfo(dataFolder, connection))
        OV::Logger::Error(OV::Logger::Library,
                          u"A new cache is made, for the one in \"%\" cannot be read. What was not "
                          u"sent from there stays there. %",
                          {damaged.folder.ToDisplayText(), damaged.problem});
    const auto created = std::make_shared<CachedProjectInfo>(connection, dataFolder);
    auto shared = ShareUnlessShared(created);
    if (shared != created) {
        shared->Refresh();
        shared->SetProjectConnectionInfo(connection);
    }
    return shared;
}

}  // namespace SYC
