#pragma once

#include "IO/ExclusiveFile.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Keeps the other processes of the user from writing a shared file while it lives: it holds a lock
/// file open and deletes it at the end. What a process that died left behind locks nobody out.
class InfoFileLock {
public:
    /// Waits for another holder, for as long as that takes; throws OV::InterruptedException as soon
    /// as the calling thread is asked to stop. Where no lock file can be made and nobody holds one
    /// (a folder of an administrator), there is no lock, and the caller goes on without.
    explicit InfoFileLock(const IO::Location& lockFile);
    /// Gives up after that many attempts, PauseMilliseconds after each that another holder won.
    /// Never goes on without: an attempt that cannot make the file is lost.
    InfoFileLock(const IO::Location& lockFile, int attempts);
    ~InfoFileLock();
    InfoFileLock(const InfoFileLock&) = delete;
    InfoFileLock& operator=(const InfoFileLock&) = delete;

    /// False only when it gave up.
    [[nodiscard]] bool IsHeld() const noexcept { return isHeld_; }
    /// Why no lock file could be made at the last attempt; empty when another holder won it.
    [[nodiscard]] const OV::UniString& GetProblem() const noexcept { return problem_; }

    /// Whether a living process holds the file; deletes what a dead one left. Not for the process
    /// that holds it itself.
    [[nodiscard]] static bool IsHeldByOther(const IO::Location& lockFile);

    static constexpr std::uint32_t PauseMilliseconds = 50;

private:
    /// Whether the file is held.
    [[nodiscard]] bool TryTake(const IO::Location& lockFile);

    bool isHeld_ = false;
    OV::UniString problem_;
    std::optional<IO::ExclusiveFile> file_;
};

}  // namespace Syncra::Server::ManagementTool::Core
