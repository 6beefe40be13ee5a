#include "ManagementTool/ConnectionProfiles.hpp"

#include "Files/Detail/InfoFileLock.hpp"
#include "Files/RoamingProfile.hpp"
#include "Files/ValueFile.hpp"
#include "IO/Folder.hpp"

#include <algorithm>

namespace Syncra::Server::ManagementTool::GUI {

namespace {

constexpr OV::UniStringView ProfilesFolder = u"Orvant";
constexpr OV::UniStringView ProfilesName = u"SYProfiles.xml";
constexpr OV::UniStringView ProfilesLockName = u"@SYProfiles.Lock";
constexpr std::int16_t ProfilesVersion = 1;

ConnectionProfile ReadProfile(OV::XMLIChannel& channel)
{
    ConnectionProfile profile;
    channel.EnterElement("Profile");
    profile.name = channel.ReadString("Name");
    profile.serverName = channel.ReadString("ServerName");
    profile.port = channel.ReadUInt16("Port");
    profile.userName = channel.ReadString("UserName");
    profile.projectName = channel.ReadString("ProjectName");
    channel.LeaveElement("Profile");
    return profile;
}

void WriteProfile(OV::XMLOChannel& channel, const ConnectionProfile& profile)
{
    channel.EnterElement("Profile");
    channel.WriteString("Name", profile.name);
    channel.WriteString("ServerName", profile.serverName);
    channel.WriteUInt16("Port", profile.port);
    channel.WriteString("UserName", profile.userName);
    channel.WriteString("ProjectName", profile.projectName);
    channel.LeaveElement("Profile");
}

auto PlaceOf(auto& profiles, const OV::UniString& name)
{
    return std::lower_bound(profiles.begin(), profiles.end(), name,
                            [](const ConnectionProfile& each, const OV::UniString& wanted) {
                                return each.name < wanted;
                            });
}

}  // namespace

ConnectionProfiles::ConnectionProfiles()
    : fileLocation_(
          Core::GetRoamingProfileFolderLocation().Appended(ProfilesFolder).Appended(ProfilesName))
{
    ReadFromDisc();
}

const ConnectionProfile* ConnectionProfiles::Find(const OV::UniString& name) const
{
    const auto place = PlaceOf(profiles_, name);
    return place == profiles_.end() || place->name != name ? nullptr : &*place;
}

void ConnectionProfiles::Set(ConnectionProfile profile)
{
    const auto place = PlaceOf(profiles_, profile.name);
    if (place != profiles_.end() && place->name == profile.name)
        *place = std::move(profile);
    else
        profiles_.insert(place, std::move(profile));
}

bool ConnectionProfiles::Remove(const OV::UniString& name)
{
    if (currentName_ == name)
        currentName_.clear();
    return std::erase_if(profiles_, [&](const auto& each) { return each.name == name; }) != 0;
}

bool ConnectionProfiles::SetCurrent(const OV::UniString& name)
{
    if (Find(name) == nullptr)
        return false;
    currentName_ = name;
    return true;
}

void ConnectionProfiles::ReadFromDisc()
{
    currentName_.clear();
    profiles_.clear();
    if (!IO::File::Exists(fileLocation_))
        return;
    OV::UniString current;
    OV::Array<ConnectionProfile> profiles;
    Core::ReadValueFile(fileLocation_, [&](OV::XMLIChannel& channel) {
        channel.EnterElement("SYProfiles");
        const std::int16_t version = channel.ReadInt16("DataVersion");
        current = channel.ReadString("Current");
        for (std::uint32_t left = channel.ReadUInt32("Size"); left > 0; --left)
            profiles.push_back(ReadProfile(channel));
        // What a later version holds beyond this is for it to know.
        if (version <= ProfilesVersion)
            channel.LeaveElement("SYProfiles");
    });
    for (auto& profile : profiles)
        Set(std::move(profile));
    (void)SetCurrent(current);
}

void ConnectionProfiles::Update(const std::function<void(ConnectionProfiles&)>& change)
{
    IO::Folder::CreateTree(fileLocation_.Parent());
    const Core::InfoFileLock lock(fileLocation_.Parent().Appended(ProfilesLockName));
    ReadFromDisc();
    change(*this);
    WriteToDisc();
}

void ConnectionProfiles::WriteToDisc() const
{
    OV::XMLOChannel channel;
    channel.EnterElement("SYProfiles");
    channel.WriteInt16("DataVersion", ProfilesVersion);
    channel.WriteString("Current", currentName_);
    channel.WriteUInt32("Size", static_cast<std::uint32_t>(profiles_.size()));
    for (const auto& profile : profiles_)
        WriteProfile(channel, profile);
    channel.LeaveElement("SYProfiles");
    Core::ReplaceValueFile(fileLocation_, channel, true);
}

}  // namespace Syncra::Server::ManagementTool::GUI
