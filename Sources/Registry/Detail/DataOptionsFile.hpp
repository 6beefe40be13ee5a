#pragma once

#include "Files/Detail/InfoFileLock.hpp"
#include "Files/ValueFile.hpp"
#include "IO/File.hpp"
#include "OVRoot/Lock.hpp"
#include "Registry/Detail/DataOptions.hpp"

#include <memory>
#include <optional>

namespace SYC {

/// "SYDataOptions.xml" and its lock, which the processes of a user share. A value that is set is a
/// change to the file as it is when the lock is had, so that nobody's change is lost; without the
/// lock it stays a change in memory and goes into the file with the next lock. Safe on any thread.
/// Observers of the data folder and the user hear of things when no lock is held, that of the file
/// included: from the thread that lets go of it.
class DataOptionsFile {
public:
    explicit DataOptionsFile(IO::Location file);

    [[nodiscard]] const IO::Location& GetLocation() const noexcept { return file_; }
    [[nodiscard]] IO::Location GetLockLocation() const;
    [[nodiscard]] DataOptions Get() const;

    /// Takes `folder` without saving it, until another one is saved or found in the file.
    void UseFolder(const IO::Location& folder);
    void ChangeFolder(const IO::Location& folder);
    /// Changes one option under the lock; nothing is written when it has that value.
    template <class Value>
    void Change(Value DataOptions::*member, std::optional<Value> DataOptionChanges::*change,
                const Value& value);

    /// Reads the file if it changed, and writes one with the current values where there is none.
    /// Throws FileOpenningError or ErrorReadingFile after three attempts.
    void Refresh();

    /// Nested calls count; the first one reads the file again and takes the lock, if it can be had.
    /// Throws as Refresh does, and OV::InterruptedException while waiting; then nothing is counted.
    /// Returns what Leave needs to be told.
    [[nodiscard]] std::uint64_t Enter();
    /// The last one releases, unless WaitForLock took the lock. A call for what ForgetHolders
    /// forgot does nothing.
    void Leave(std::uint64_t epoch);
    /// Ends all nesting and releases.
    void ForgetHolders();

    /// Takes the lock if this process does not have it, and keeps it until RemoveLock or
    /// ForgetHolders. Ten attempts, 50 ms apart; whether it is had. Throws as Enter does.
    bool WaitForLock();
    /// Writes the options if they changed, then releases.
    void RemoveLock();
    [[nodiscard]] bool IsLocked() const;
    [[nodiscard]] bool IsLockedByOthers();
    /// Whether something was set that is not in the file yet.
    [[nodiscard]] bool HasChanges() const;

    static constexpr int LockAttempts = 10;
    static constexpr int ReadAttempts = 3;

private:
    /// Tells the observers at its end if the data folder is another one than they know.
    class FolderWatch {
    public:
        explicit FolderWatch(DataOptionsFile& file) : file_(file) {}
        ~FolderWatch() { file_.TellOfFolder(); }
        FolderWatch(const FolderWatch&) = delete;
        FolderWatch& operator=(const FolderWatch&) = delete;

    private:
        DataOptionsFile& file_;
    };

    /// What the user is to be told, once no lock is held.
    struct Alert {
        Syncra::Server::ManagementTool::Core::FileAlert kind;
        IO::Location file;
    };
    static void Show(const std::optional<Alert>& alert) noexcept;
    void TellOfFolder() noexcept;

    /// False when there is no file.
    bool Read() OV_REQUIRES(acquiring_);
    bool ReadOnce() OV_REQUIRES(acquiring_);
    [[nodiscard]] std::optional<IO::ChangeStamp> Look() const;
    void Take(DataOptionsFormat::Content read, const IO::ChangeStamp& stamp);
    bool TakeLock() OV_REQUIRES(acquiring_);
    [[nodiscard]] std::optional<Alert> Release() OV_REQUIRES(acquiring_);
    [[nodiscard]] std::optional<Alert> GiveUp() OV_REQUIRES(acquiring_);
    [[nodiscard]] std::optional<Alert> Write() OV_REQUIRES(acquiring_);
    void NoteWritten(const DataOptionsFormat::Content& written, const IO::ChangeStamp& stamp);
    void NoteUnwritten(const DataOptionChanges& changes);
    [[nodiscard]] const IO::Location& FolderInUse() const OV_REQUIRES(lock_);

    const IO::Location file_;

    /// Held while the lock file is waited for, and while the options file is read or written; not
    /// for the getters, which never wait for the disk.
    OV::Lock acquiring_;
    std::unique_ptr<Syncra::Server::ManagementTool::Core::InfoFileLock>
        fileLock_ OV_GUARDED_BY(acquiring_);
    int holders_ OV_GUARDED_BY(acquiring_) = 0;
    std::uint64_t epoch_ OV_GUARDED_BY(acquiring_) = 0;
    /// WaitForLock took the lock: not for the end of a guard to let go of.
    bool isKept_ OV_GUARDED_BY(acquiring_) = false;
    bool isAbsent_ OV_GUARDED_BY(acquiring_) = false;
    /// Why no lock file could be made; empty when one could, or another process had it.
    OV::UniString lockProblem_ OV_GUARDED_BY(acquiring_);

    mutable OV::Lock lock_;
    DataOptions options_ OV_GUARDED_BY(lock_);
    DataOptionAdditions additions_ OV_GUARDED_BY(lock_);
    /// One that is used without being saved.
    std::optional<IO::Location> unsavedFolder_ OV_GUARDED_BY(lock_);
    IO::Location toldFolder_ OV_GUARDED_BY(lock_);
    DataOptionChanges changes_ OV_GUARDED_BY(lock_);
    /// Something was set that the user does not know to be unwritten.
    bool isUntold_ OV_GUARDED_BY(lock_) = false;
    std::optional<IO::ChangeStamp> stamp_ OV_GUARDED_BY(lock_);
    bool isLocked_ OV_GUARDED_BY(lock_) = false;
};

/// A nested hold of the options' lock.
class DataOptionsHold {
public:
    explicit DataOptionsHold(DataOptionsFile& file) : file_(file), epoch_(file.Enter()) {}
    ~DataOptionsHold();
    DataOptionsHold(const DataOptionsHold&) = delete;
    DataOptionsHold& operator=(const DataOptionsHold&) = delete;

private:
    DataOptionsFile& file_;
    std::uint64_t epoch_;
};

template <class Value>
void DataOptionsFile::Change(Value DataOptions::*member,
                             std::optional<Value> DataOptionChanges::*change, const Value& value)
{
    // Even for a value that looks the same: another process may have changed it since.
    const DataOptionsHold hold(*this);
    const OV::LockGuard guard(lock_);
    if (options_.*member == value)
        return;
    options_.*member = value;
    changes_.*change = value;
    isUntold_ = true;
}

}  // namespace SYC
