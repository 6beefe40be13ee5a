#include "Files/Detail/InfoFileLock.hpp"

#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"

namespace Syncra::Server::ManagementTool::Core {

// A file that cannot be deleted for another reason is nobody's hold.
bool InfoFileLock::IsHeldByOther(const IO::Location& lockFile)
{
    try {
        IO::File::Delete(lockFile);
    } catch (const IO::IOException& error) {
        return error.GetCode() == IO::ErrorCode::HeldByOther;
    }
    return false;
}

bool InfoFileLock::TryTake(const IO::Location& lockFile)
{
    problem_.clear();
    if (IsHeldByOther(lockFile))
        return false;
    try {
        file_ = IO::ExclusiveFile::TryOpen(lockFile);
    } catch (const IO::IOException& error) {
        if (!IsHeldByOther(lockFile))
            problem_ = error.GetMessage();
    }
    // Nothing when another process was quicker, too.
    return file_.has_value();
}

InfoFileLock::InfoFileLock(const IO::Location& lockFile)
{
    while (!TryTake(lockFile) && problem_.empty())
        OV::Thread::Sleep(PauseMilliseconds);
    isHeld_ = true;
    if (!file_)
        OV::Logger::Warning(OV::Logger::Library, u"Going on without a lock: %", {problem_});
}

InfoFileLock::InfoFileLock(const IO::Location& lockFile, int attempts)
{
    while (!(isHeld_ = TryTake(lockFile)) && --attempts > 0)
        if (problem_.empty())
            OV::Thread::Sleep(PauseMilliseconds);
}

InfoFileLock::~InfoFileLock()
{
    try {
        if (file_)
            file_->DeleteAndClose();
    } catch (const std::exception& error) {
        OV::Logger::Warning(OV::Logger::Library, u"A lock file stays behind: %", {error.what()});
    }
}

}  // namespace Syncra::Server::ManagementTool::Core
