#include "Files/Detail/HoldFile.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Thread.hpp"

namespace SYC {

namespace {

constexpr int Attempts = 1000;
constexpr std::uint32_t PauseMilliseconds = 5;

}  // namespace

IO::ExclusiveFile HoldFile(const IO::Location& lockFile)
{
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        if (auto hold = IO::ExclusiveFile::TryOpen(lockFile))
            return *std::move(hold);
        OV::Thread::Sleep(PauseMilliseconds);
    }
    throw IO::IOException(IO::ErrorCode::HeldByOther, u"Cannot hold", lockFile,
                          "another program holds it for too long");
}

}  // namespace SYC
