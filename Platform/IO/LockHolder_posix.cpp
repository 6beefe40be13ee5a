#include "IO/LockHolder.hpp"

#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace IO {

namespace {

/// "08:01:131090", as the system's list of holds names a file.
OV::String IdentityOf(const struct stat& file)
{
    char text[64];
    std::snprintf(text, sizeof text, "%02x:%02x:%llu", major(file.st_dev), minor(file.st_dev),
                  static_cast<unsigned long long>(file.st_ino));
    return text;
}

}  // namespace

std::optional<LockHolder> FindLockHolder(const Location& file)
{
    struct stat found {};
    if (stat(file.ToNativePath().c_str(), &found) != 0)
        return std::nullopt;
    const OV::String wanted = IdentityOf(found);
    std::ifstream holds("/proc/locks");
    for (OV::String line; std::getline(holds, line);) {
        std::istringstream words(line);
        OV::String number, kind, advisory, access, identity;
        LockHolder holder;
        words >> number >> kind >> advisory >> access >> holder.processId >> identity;
        if (kind != "FLOCK" || identity != wanted)
            continue;
        std::ifstream name("/proc/" + std::to_string(holder.processId) + "/comm");
        OV::String program;
        std::getline(name, program);
        holder.program = OV::FromUtf8(program);
        return holder;
    }
    return std::nullopt;
}

}  // namespace IO
