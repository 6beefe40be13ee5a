#include "Cache/Detail/CacheHold.hpp"

#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

namespace {

constexpr OV::UniStringView Prefix = u"@Open.";
constexpr OV::UniStringView Suffix = u".Lock";

void Delete(IO::ExclusiveFile& file) noexcept
{
    try {
        file.DeleteAndClose();
    } catch (...) {
        // A lock file left behind proves nothing; its folder may have gone as well.
    }
}

OV::Array<OV::UniString> FindLockFiles(const IO::Location& folder)
{
    OV::Array<OV::UniString> names;
    IO::Folder::Enumerate(folder, [&names](const IO::Folder::Entry& entry) {
        if (!entry.isFolder && entry.name.starts_with(Prefix) && entry.name.ends_with(Suffix))
            names.push_back(entry.name);
        return true;
    });
    return names;
}

}  // namespace

std::unique_ptr<CacheHold> CacheHold::Take(const IO::Location& folder) noexcept
{
    try {
        const OV::UniString name =
            OV::UniString(Prefix) + OV::Guid::Generate().ToText() + OV::UniString(Suffix);
        auto file = IO::ExclusiveFile::TryMark(folder.Appended(name));
        if (!file)
            return nullptr;
        return std::unique_ptr<CacheHold>(new CacheHold(*std::move(file)));
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library,
                                u"That \"%\" is open cannot be told to others: %",
                                folder.LastComponent());
        return nullptr;
    }
}

bool CacheHold::IsHeld(const IO::Location& folder)
{
    for (const auto& name : FindLockFiles(folder)) {
        auto file = IO::ExclusiveFile::TryOpen(folder.Appended(name));
        if (!file)
            return true;
        Delete(*file);
    }
    return false;
}

CacheHold::~CacheHold()
{
    Delete(file_);
}

}  // namespace SYC
