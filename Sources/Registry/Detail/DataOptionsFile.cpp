#include "Registry/Detail/DataOptionsFile.hpp"

#include "Files/FileErrors.hpp"
#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "SYDataOptionsObserver.hpp"

#include <utility>

namespace SYC {

namespace Core = Syncra::Server::ManagementTool::Core;

namespace {

constexpr OV::UniStringView LockFileName = u"@DataOptions.Lock";
constexpr OV::UniStringView Remedy =
    u"Restore the file, or delete it: then it is made anew with the usual values.";

/// What keeps the folder from being made keeps the file from being written, and that is reported.
void MakeFolderOf(const IO::Location& file)
{
    try {
        IO::Folder::CreateTree(file.Parent());
    } catch (const IO::IOException& error) {
        OV::Logger::Warning(OV::Logger::Library, u"No place for the local-data options: %",
                            {error.GetMessage()});
    }
}

}  // namespace

DataOptionsFile::DataOptionsFile(IO::Location file) : file_(std::move(file)) {}

IO::Location DataOptionsFile::GetLockLocation() const
{
    return file_.Parent().Appended(LockFileName);
}

const IO::Location& DataOptionsFile::FolderInUse() const
{
    return unsavedFolder_ ? *unsavedFolder_ : options_.dataFolder;
}

DataOptions DataOptionsFile::Get() const
{
    const OV::LockGuard guard(lock_);
    DataOptions options = options_;
    options.dataFolder = FolderInUse();
    return options;
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
    unsavedFolder_ = folder;
}

void DataOptionsFile::ChangeFolder(const IO::Location& folder)
{
    const FolderWatch watch(*this);
    Change(&DataOptions::dataFolder, &DataOptionChanges::dataFolder, folder);
    const OV::LockGuard guard(lock_);
    unsavedFolder_.reset();
}

void DataOptionsFile::TellOfFolder() noexcept
{
    try {
        {
            const OV::LockGuard guard(lock_);
            // Whoever lets go of the lock tells.
            if (isLocked_ || toldFolder_ == FolderInUse())
                return;
            toldFolder_ = FolderInUse();
        }
        SYDataOptionsObserver::SendSYDataFolderChanged();
    } catch (const std::exception& error) {
        OV::Logger::Error(OV::Logger::Library, u"The new data folder could not be told of: %",
                          {error.what()});
    }
}

void DataOptionsFile::Show(const std::optional<Alert>& alert) noexcept
{
    if (alert)
        Core::ShowFileAlert(alert->kind, alert->file);
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

std::optional<IO::ChangeStamp> DataOptionsFile::Look() const
{
    try {
        return IO::File::GetChangeStamp(file_);
    } catch (const IO::IOException& error) {
        throw Core::FileOpenningError(file_, error);
    }
}

bool DataOptionsFile::ReadOnce()
{
    const auto stamp = Look();
    isAbsent_ = !stamp;
    if (isAbsent_)
        return false;
    {
        const OV::LockGuard guard(lock_);
        if (stamp == stamp_)
            return true;
    }
    DataOptionsFormat::Content read;
    const auto stampRead = Core::ReadValueFile(
        file_, [&](OV::XMLIChannel& channel) { read = DataOptionsFormat::Read(channel); }, Remedy);
    Take(std::move(read), stampRead);
    return true;
}

void DataOptionsFile::Take(DataOptionsFormat::Content read, const IO::ChangeStamp& stamp)
{
    auto& [options, additions] = read;
    if (!additions.foreignPath.empty())
        OV::Logger::Warning(OV::Logger::Library,
                            u"No folder of this computer, so not used: \"%\" (%)",
                            {additions.foreignPath, file_.ToDisplayText()});
    const OV::LockGuard guard(lock_);
    if (options.dataFolder.IsEmpty())
        options.dataFolder = options_.dataFolder;
    changes_.ApplyTo(options);
    // Another process that changes another option leaves the folder alone that is used here.
    if (options.dataFolder != options_.dataFolder)
        unsavedFolder_.reset();
    options_ = std::move(options);
    additions_ = std::move(additions);
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
    const FolderWatch watch(*this);
    std::optional<Alert> alert;
    {
        const OV::LockGuard guard(acquiring_);
        if (epoch == epoch_ && --holders_ == 0 && !isKept_)
            alert = Release();
    }
    Show(alert);
}

void DataOptionsFile::ForgetHolders()
{
    const FolderWatch watch(*this);
    std::optional<Alert> alert;
    {
        const OV::LockGuard guard(acquiring_);
        ++epoch_;
        holders_ = 0;
        alert = Release();
    }
    Show(alert);
}

bool DataOptionsFile::WaitForLock()
{
    const FolderWatch watch(*this);
    const OV::LockGuard guard(acquiring_);
    return isKept_ = TakeLock();
}

void DataOptionsFile::RemoveLock()
{
    const FolderWatch watch(*this);
    std::optional<Alert> alert;
    {
        const OV::LockGuard guard(acquiring_);
        alert = Release();
    }
    Show(alert);
}

bool DataOptionsFile::TakeLock()
{
    if (fileLock_)
        return true;
    MakeFolderOf(file_);
    auto taken = std::make_unique<Core::InfoFileLock>(GetLockLocation(), LockAttempts);
    lockProblem_ = taken->GetProblem();
    if (!taken->IsHeld()) {
        if (lockProblem_.empty())
            OV::Logger::Warning(OV::Logger::Library,
                                u"Another program holds the local-data options: %",
                                {GetLockLocation().ToDisplayText()});
        else
            OV::Logger::Warning(OV::Logger::Library, u"The local-data options cannot be locked: %",
                                {lockProblem_});
        return false;
    }
    // What another process wrote until it let go.
    (void)Read();
    fileLock_ = std::move(taken);
    const OV::LockGuard guard(lock_);
    isLocked_ = true;
    return true;
}

std::optional<DataOptionsFile::Alert> DataOptionsFile::Release()
{
    isKept_ = false;
    // Let go at the very end, and whatever happens: the next holder reads what stands there.
    const auto released = std::move(fileLock_);
    if (!released)
        return GiveUp();
    {
        const OV::LockGuard guard(lock_);
        isLocked_ = false;
    }
    return Write();
}

/// Without the lock. That another process has it is no news: the change goes with the next lock.
std::optional<DataOptionsFile::Alert> DataOptionsFile::GiveUp()
{
    const OV::LockGuard guard(lock_);
    if (lockProblem_.empty() || !std::exchange(isUntold_, false))
        return std::nullopt;
    return Alert{Core::FileAlert::CacheFileOpening, GetLockLocation()};
}

std::optional<DataOptionsFile::Alert> DataOptionsFile::Write()
{
    DataOptionsFormat::Content content;
    DataOptionChanges changes;
    bool isUntold = false;
    {
        const OV::LockGuard guard(lock_);
        if (!changes_.Any() && !isAbsent_)
            return std::nullopt;
        content = {options_, additions_};
        if (content.options.dataFolder.IsEmpty())
            content.options.dataFolder = FolderInUse();
        // What is set from here on belongs to the next write.
        changes = std::exchange(changes_, {});
        isUntold = std::exchange(isUntold_, false);
    }
    if (changes.dataFolder)
        content.additions.foreignPath.clear();
    try {
        const auto outcome = Core::TryReplaceValueFile(file_, DataOptionsFormat::Write(content));
        if (outcome.stamp)
            NoteWritten(content, *outcome.stamp);
        else
            NoteUnwritten(changes);
        return outcome.failure && isUntold ? std::optional(Alert{*outcome.failure, file_})
                                           : std::nullopt;
    } catch (...) {
        NoteUnwritten(changes);
        throw;
    }
}

void DataOptionsFile::NoteWritten(const DataOptionsFormat::Content& written,
                                  const IO::ChangeStamp& stamp)
{
    const OV::LockGuard guard(lock_);
    stamp_ = stamp;
    additions_ = written.additions;
    if (options_.dataFolder.IsEmpty())
        options_.dataFolder = written.options.dataFolder;
}

void DataOptionsFile::NoteUnwritten(const DataOptionChanges& changes)
{
    const OV::LockGuard guard(lock_);
    stamp_.reset();
    changes_.Complete(changes);
}

DataOptionsHold::~DataOptionsHold()
{
    try {
        file_.Leave(epoch_);
    } catch (const std::exception& error) {
        OV::Logger::Error(OV::Logger::Library, u"The local-data options were not written: %",
                          {error.what()});
    }
}

}  // namespace SYC
