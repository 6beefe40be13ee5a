#include "IO/ExclusiveFile.hpp"

#include "IO/IOException.hpp"
#include "OVRoot/Thread.hpp"

namespace IO {

ExclusiveFile ExclusiveFile::Open(const Location& file, const Patience& patience)
{
    for (std::uint32_t attempt = 1;; ++attempt) {
        if (auto held = TryOpen(file))
            return *std::move(held);
        if (attempt == patience.attempts)
            throw IOException(ErrorCode::HeldByOther, u"Cannot hold", file,
                              "another program holds it for too long");
        OV::Thread::Sleep(patience.pauseMilliseconds);
    }
}

}  // namespace IO
