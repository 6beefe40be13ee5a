#include "BinCacheHandler/Detail/LogCacheFiles.hpp"

#include "IO/File.hpp"
#include "IO/Folder.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <algorithm>

namespace SYC::Detail::LogCacheFiles {

namespace {

constexpr OV::UniStringView MarkerName = u"che.lck";
constexpr OV::StringView MarkerMessage = "Failed to  to create cache lock file location.";
constexpr IO::ExclusiveFile::Patience MarkerPatience{
    .pauseMilliseconds = 50, .attempts = IO::ExclusiveFile::Patience::ForEver};

/// Whether a client that knows more wrote the file. A number beyond a byte is no version but
/// damage.
bool IsNewer(const IO::Location& file)
{
    const OV::String bytes = IO::File::ReadBeginning(file, sizeof(std::uint32_t));
    OV::MemoryIChannel channel(bytes);
    std::uint32_t version = 0;
    return channel.Read(version) == OV::ChannelOk && version > PerformanceData::StreamVersion &&
           version <= 0xFF;
}

}  // namespace

IO::Location Form(const IO::Location& folder, OV::UniStringView name, OV::StringView message,
                  int line)
{
    IO::Location location = folder.Appended(name);
    if (name == u"." || name == u".." || !location.IsLegal())
        throw BinCacheHandlerException(message,
                                       std::make_shared<const OV::IllegalArgumentException>(
                                           "Invalid file location: location is not valid."),
                                       line);
    return location;
}

IO::Location MakeFolder(const OV::UniString& name)
{
    constexpr OV::StringView message =
        "Failed to start cache handler: failed to create folder location.";
    IO::Location location = IO::GetSpecialFolder(IO::SpecialFolder::ApplicationData);
    for (const OV::UniStringView level :
         {OV::UniStringView(u"Orvant"), OV::UniStringView(u"ServerManagerCache"),
          OV::UniStringView(name)})
        location = Form(location, level, message);
    Try("Failed to to create main folder.", [&] { IO::Folder::CreateTree(location); });
    return location;
}

OV::Array<OV::UniString> Names(const IO::Location& folder)
{
    if (!Try("Failed to get main folder.", [&] { return IO::Folder::Exists(folder); }))
        throw BinCacheHandlerException("Failed to get main folder.");
    OV::Array<OV::UniString> names;
    Try("Failed to get project file names.", [&] {
        IO::Folder::Enumerate(folder, [&](const IO::Folder::Entry& entry) {
            if (!entry.isFolder)
                names.push_back(entry.name);
            return true;
        });
    });
    std::sort(names.begin(), names.end());
    return names;
}

IO::ExclusiveFile HoldMarker(const IO::Location& folder)
{
    const auto location = Form(folder, MarkerName, MarkerMessage);
    return Try(MarkerMessage, [&] { return IO::ExclusiveFile::Open(location, MarkerPatience); });
}

void DeleteMarker(IO::ExclusiveFile marker)
{
    Try(MarkerMessage, [&] { marker.DeleteAndClose(); });
}

std::optional<PerformanceData> ReadStatistics(const IO::Location& folder)
{
    const auto file =
        Form(folder, StatisticsName, "Failed to  to create performance cache file location.");
    try {
        const OV::String bytes = IO::File::ReadAll(file, IO::File::MostOfLogFile);
        OV::MemoryIChannel channel(bytes);
        PerformanceData data;
        (void)data.Read(channel);  // what is there of a damaged one counts
        return data;
    } catch (const IO::IOException& failure) {
        OV::Logger::Warning(OV::Logger::Library, u"The statistics of a server are left out: %",
                            {failure.GetMessage()});
        return std::nullopt;
    }
}

void WriteStatistics(const IO::Location& folder, const PerformanceData& data, bool isChanged)
{
    const auto file = Form(folder, StatisticsName,
                           "Failed to create performance cache: failed to create performance "
                           "cache file location.");
    Try("Failed to create performance cache: failed to create performance cache channel.", [&] {
        if (IO::File::Exists(file) && (!isChanged || IsNewer(file)))
            return;
        OV::MemoryOChannel channel;
        (void)data.Write(channel);  // memory takes everything
        IO::File::Replace(file, channel.Bytes());
    });
}

}  // namespace SYC::Detail::LogCacheFiles
