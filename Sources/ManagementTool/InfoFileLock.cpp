#include "ManagementTool/InfoFileLock.hpp"

#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

/// Deletes what a dead process left; true when a living one holds it. A file that cannot be deleted
/// for another reason is nobody's hold.
bool IsHeldByOther(const IO::Location& lockFile)
{
    try {
        IO::File::Delete(lockFile);
    } catch (const IO::IOException& error) {
        return error.GetCode() == IO::ErrorCode::HeldByOther;
    }
    return false;
}

}  // namespace

InfoFileLock::InfoFileLock(const IO::Location& lockFile)
{
    for (;;) {
        while (IsHeldByOther(lockFile))
            OV::Thread::Sleep(PauseMilliseconds);
        try {
            file_ = IO::ExclusiveFile::TryOpen(lockFile);
            if (file_)
                return;
            // Another process was quicker.
        } catch (const IO::IOException& error) {
            if (IsHeldByOther(lockFile))
                continue;
            OV::Logger::Warning("SYClient", u"Going on without a lock: %", {error.GetMessage()});
            return;
        }
    }
}

InfoFileLock::~InfoFileLock()
{
    try {
        if (file_)
            file_->DeleteAndClose();
    } catch (const std::exception& error) {
        OV::Logger::Warning("SYClient", u"A lock file stays behind: %", {error.what()});
    }
}

}  // namespace Syncra::Server::ManagementTool::Core
