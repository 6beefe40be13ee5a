#include "Registry/Detail/DataOptions.hpp"

#include <algorithm>
#include <tuple>
#include <utility>

namespace SYC {

namespace {

constexpr const char* Root = "SYDataOptions";
constexpr const char* PathName = "LocalDataFolderPath";
/// What older clients read and write.
constexpr const char* OldPathName = "LocalDataFolder";
constexpr const char* Schedule = "CleanSchedule";

OV::UniString ReadPath(OV::XMLIChannel& channel)
{
    if (channel.PeekName() != PathName)
        return channel.ReadString(OldPathName);
    const OV::UniString path = channel.ReadString(PathName);
    if (channel.PeekName() == OldPathName)
        (void)channel.ReadString(OldPathName);
    return path;
}

/// Lenient on purpose: there are files with these values directly below the root.
bool EnterSchedule(OV::XMLIChannel& channel)
{
    try {
        channel.EnterElement(Schedule);
        return true;
    } catch (const OV::XMLChannelException&) {
        return false;
    }
}

/// Each option with its change.
constexpr auto Members =
    std::make_tuple(std::pair(&DataOptions::dataFolder, &DataOptionChanges::dataFolder),
                    std::pair(&DataOptions::enableAutoClean, &DataOptionChanges::enableAutoClean),
                    std::pair(&DataOptions::periodTime, &DataOptionChanges::periodTime),
                    std::pair(&DataOptions::lastUsedDays, &DataOptionChanges::lastUsedDays),
                    std::pair(&DataOptions::lastRunTime, &DataOptionChanges::lastRunTime));

template <class Visit>
void ForEach(Visit visit)
{
    std::apply([&](const auto&... member) { (visit(member.first, member.second), ...); }, Members);
}

}  // namespace

bool DataOptionChanges::Any() const noexcept
{
    bool any = false;
    ForEach([&](auto, auto change) { any = any || (this->*change).has_value(); });
    return any;
}

void DataOptionChanges::ApplyTo(DataOptions& options) const
{
    ForEach([&](auto option, auto change) {
        if (this->*change)
            options.*option = *(this->*change);
    });
}

void DataOptionChanges::Complete(const DataOptionChanges& former)
{
    ForEach([&](auto, auto change) {
        if (!(this->*change))
            this->*change = former.*change;
    });
}

bool DataOptionsFormat::IsUsable(const IO::Location& dataFolder)
{
    return dataFolder.IsLegal() && dataFolder.IsAbsolute();
}

DataOptionsFormat::Content DataOptionsFormat::Read(OV::XMLIChannel& channel)
{
    Content content;
    auto& [options, additions] = content;
    channel.EnterElement(Root);
    const std::uint16_t version = channel.ReadUInt16("DataVersion");
    const OV::UniString path = ReadPath(channel);
    if (auto folder = IO::Location::FromPath(path); IsUsable(folder))
        options.dataFolder = std::move(folder);
    else
        additions.foreignPath = path;
    const bool hasSchedule = EnterSchedule(channel);
    options.enableAutoClean = channel.ReadBool("Enable");
    options.periodTime = channel.ReadInt32("PeriodTime");
    options.lastUsedDays = channel.ReadInt32("LastUsedDays");
    options.lastRunTime = channel.ReadInt32("LastRunTime");
    // What a later version holds beyond this is for it to know.
    const bool isNewer = version > DataVersion;
    if (isNewer)
        additions.dataVersion = version;
    if (isNewer && hasSchedule)
        additions.ofSchedule = channel.ReadRest();
    if (hasSchedule)
        channel.LeaveElement(Schedule);
    if (isNewer)
        additions.ofRoot = channel.ReadRest();
    channel.LeaveElement(Root);
    return content;
}

OV::XMLOChannel DataOptionsFormat::Write(const Content& content)
{
    const auto& [options, additions] = content;
    const OV::UniString path =
        additions.foreignPath.empty() ? options.dataFolder.ToPath() : additions.foreignPath;
    OV::XMLOChannel channel;
    channel.EnterElement(Root);
    channel.WriteUInt16("DataVersion", std::max(DataVersion, additions.dataVersion));
    channel.WriteString(PathName, path);
    channel.WriteString(OldPathName, path);
    channel.EnterElement(Schedule);
    channel.WriteBool("Enable", options.enableAutoClean);
    channel.WriteInt32("PeriodTime", options.periodTime);
    channel.WriteInt32("LastUsedDays", options.lastUsedDays);
    channel.WriteInt32("LastRunTime", options.lastRunTime);
    channel.WriteRest(additions.ofSchedule);
    channel.LeaveElement(Schedule);
    channel.WriteRest(additions.ofRoot);
    channel.LeaveElement(Root);
    return channel;
}

}  // namespace SYC
