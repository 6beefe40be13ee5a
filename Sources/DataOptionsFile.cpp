#include "Detail/DataOptionsFile.hpp"

#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "ManagementTool/FileErrors.hpp"
#include "ManagementTool/ValueFile.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "SYDataOptionsObserver.hpp"

#include <utility>

namespace SYC {

namespace Core = Syncra::Server::ManagementTool::Core;

namespace {

constexpr OV::UniStringView LockFileName = u"@DataOptions.Lock";

/// What keeps the folder from being made keeps the file from being written, and that is reported.
void MakeFolderOf(const IO::Location& file)
{
    try {
        IO::Folder::CreateTree(file.Parent());
    } catch (const IO::IOException& error) {
        OV::Logger::Warning("SYClient", u"No place for the local-data options: %",
                            {error.GetMessage()});
    }
}

}  // namespace

DataOptionsFile::DataOptionsFile(IO::Location file) : file_(std::move(file)) {}

IO::Location DataOptionsFile::GetLockLocation() const
{
    return file_.Parent().Appended(LockFileName);
}

DataOptions DataOptionsFile::Get() const
{
    const OV::LockGuard guard(lock_);
    return options_;
}

bool DataOptionsFile::IsLocked() const
{
    const OV::LockGuard guard(lock_);
    return isLocked_;
}

bool DataOptionsFile::IsLockedByOthers()
{
    const OV::LockGuard guard(acquiring_);
    return !fileLock_ && Core::InfoFileLock::IsHeldByOther(GetLockLocation());
}

bool DataOptionsFile::HasChanges() const
{
    const OV::LockGuard guard(lock_);
    return changes_.Any();
}

void DataOptionsFile::UseFolder(const IO::Location& folder)
{
    const FolderWatch watch(*this);
    const OV::LockGuard guard(lock_);
    options_.dataFolder = folder;
    // What the file says still goes before it.
    stamp_.reset();
}

DataOptionsFile::FolderWatch::~FolderWatch()
{
    try {
        if (file_.Get().dataFolder != former_)
            SYDataOptionsObserver::SendSYDataFolderChanged();
    } catch (const std::exception& error) {
        OV::Logger::Error("SYClient", u"An observer of the data folder failed: %", {error.what()});
    }
}

// Reading

void DataOptionsFile::Refresh()
{
    const FolderWatch watch(*this);
    {
        const OV::LockGuard guard(acquiring_);
        if (Read())
            return;
    }
    const DataOptionsHold writesItAtItsEnd(*this);
}

bool DataOptionsFile::Read()
{
    for (int attempt = 1;; ++attempt) {
        try {
            return ReadOnce();
        } catch (const Core::FileError&) {
            // Other clients write the file in place, so it may be whole a moment later.
            if (attempt == ReadAttempts)
                throw;
            OV::Thread::Sleep(Core::InfoFileLock::PauseMilliseconds);
        }
    }
}

bool DataOptionsFile::ReadOnce()
{
    const auto stamp = IO::File::GetChangeStamp(file_);
    isAbsent_ = !stamp;
    if (isAbsent_)
        return false;
    {
        const OV::LockGuard guard(lock_);
        if (stamp == stamp_)
            return true;
    }
    DataOptions read;
    const auto stampRead = Core::ReadValueFile(
        file_, [&](OV::XMLIChannel& channel) { read = DataOptionsFormat::Read(channel); });
    Take(std::move(read), stampRead);
    return true;
}

void DataOptionsFile::Take(DataOptions read, const IO::ChangeStamp& stamp)
{
    const OV::LockGuard guard(lock_);
    if (!read.dataFolder.IsLegal())
        read.dataFolder = options_.dataFolder;
    changes_.ApplyTo(read);
    options_ = std::move(read);
    stamp_ = stamp;
}

// The lock

std::uint64_t DataOptionsFile::Enter()
{
    const FolderWatch watch(*this);
    const OV::LockGuard guard(acquiring_);
    if (holders_ == 0) {
        // Before the wait, so that a damaged file is told of at once.
        (void)Read();
        TakeLock();
    }
    ++holders_;
    return epoch_;
}

void DataOptionsFile::Leave(std::uint64_t epoch)
{
    const OV::LockGuard guard(acquiring_);
    if (epoch == epoch_ && --holders_ == 0)
        Release();
}

void DataOptionsFile::ForgetHolders()
{
    const OV::LockGuard guard(acquiring_);
    ++epoch_;
    holders_ = 0;
    Release();
}

bool DataOptionsFile::WaitForLock()
{
    const FolderWatch watch(*this);
    const OV::LockGuard guard(acquiring_);
    return TakeLock();
}

void DataOptionsFile::RemoveLock()
{
    const OV::LockGuard guard(acquiring_);
    Release();
}

bool DataOptionsFile::TakeLock()
{
    if (fileLock_)
        return true;
    MakeFolderOf(file_);
    auto taken = std::make_unique<Core::InfoFileLock>(GetLockLocation(), LockAttempts);
    if (!taken->IsHeld()) {
        OV::Logger::Warning("SYClient", u"Another program holds the local-data options: %",
                            {GetLockLocation().ToDisplayText()});
        return false;
    }
    // What another process wrote until it let go.
    (void)Read();
    fileLock_ = std::move(taken);
    const OV::LockGuard guard(lock_);
    isLocked_ = true;
    return true;
}

void DataOptionsFile::Release()
{
    // Let go at the very end, and whatever happens: the next holder reads what stands there.
    const auto released = std::move(fileLock_);
    if (!released)
        return;
    {
        const OV::LockGuard guard(lock_);
        isLocked_ = false;
    }
    Write();
}

void DataOptionsFile::Write()
{
    DataOptions options;
    DataOptionChanges changes;
    {
        const OV::LockGuard guard(lock_);
        if (!changes_.Any() && !isAbsent_)
            return;
        options = options_;
        // What is set from here on belongs to the next write.
        changes = std::exchange(changes_, {});
    }
    const auto stamp = Core::ReplaceValueFileOrAlert(file_, DataOptionsFormat::Write(options));
    const OV::LockGuard guard(lock_);
    stamp_ = stamp;
    if (!stamp)
        changes_.Complete(changes);
}

DataOptionsHold::~DataOptionsHold()
{
    try {
        file_.Leave(epoch_);
    } catch (const std::exception& error) {
        OV::Logger::Error("SYClient", u"The local-data options were not written: %",
                          {error.what()});
    }
}

}  // namespace SYC
