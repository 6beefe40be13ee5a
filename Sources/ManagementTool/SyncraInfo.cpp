#include "ManagementTool/SyncraInfo.hpp"

#include "Files/Detail/InfoFileLock.hpp"
#include "Files/FileErrors.hpp"
#include "Files/RoamingProfile.hpp"
#include "Files/ValueFile.hpp"
#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SyncraURL.hpp"

namespace Syncra::Server::ManagementTool::GUI {

namespace {

constexpr OV::UniStringView CompanyFolder = u"Orvant";
constexpr OV::UniStringView FileName = u"SyncraInfo_v2.xml";
constexpr OV::UniStringView PreviousFileName = u"SyncraInfo.xml";
constexpr OV::UniStringView LockFileName = u"@SYInfo.Lock";

constexpr std::int16_t DataVersion = 1;
/// The previous file has the message setting since this version.
constexpr std::int32_t PreviousVersionWithMessageSetting = 2;

/// All servers of the previous file are of one version and category.
constexpr std::uint32_t PreviousServerVersion = 1300;
constexpr std::int32_t PreviousServerCategory = 2;

IO::Location MakeFileLocation()
{
    const auto folder = Core::GetRoamingProfileFolderLocation().Appended(CompanyFolder);
    IO::Folder::CreateTree(folder);
    return folder.Appended(FileName);
}

OV::Array<SYCB::ServerConnectionInfo> ReadServers(OV::XMLIChannel& channel)
{
    OV::Array<SYCB::ServerConnectionInfo> servers;
    channel.EnterElement("WebServers");
    for (std::uint32_t left = channel.ReadUInt32("Size"); left > 0; --left) {
        channel.EnterElement("ServerData");
        SYCB::ServerConnectionInfo& server = servers.emplace_back();
        server.host = channel.ReadString("Host");
        server.port = channel.ReadUInt16("Port");
        server.serverVersion = PreviousServerVersion;
        server.category = PreviousServerCategory;
        channel.LeaveElement("ServerData");
    }
    channel.LeaveElement("WebServers");
    return servers;
}

}  // namespace

SyncraInfo::SyncraInfo() : fileLocation_(MakeFileLocation())
{
    ReadFromDisc();
}

IO::Location SyncraInfo::LockLocation() const
{
    return fileLocation_.Parent().Appended(LockFileName);
}

void SyncraInfo::ClearData()
{
    messageSetting_ = false;
    lastServerName_.clear();
    lastUserName_.clear();
    passwordStore_.Clear();
}

void SyncraInfo::ReadFromDisc()
{
    ClearData();
    try {
        if (IO::File::Exists(fileLocation_))
            ReadCurrentVersion();
        else
            ConvertFromPrevVersion();
    } catch (...) {
        ClearData();
        throw;
    }
}

void SyncraInfo::ReadCurrentVersion()
{
    Core::ReadValueFile(fileLocation_, [this](OV::XMLIChannel& channel) {
        channel.EnterElement("SyncraInfo");
        const std::int16_t version = channel.ReadInt16("DataVersion");
        messageSetting_ = channel.ReadBool("SYMessageSetting");
        lastServerName_ = channel.ReadString("LastServerName");
        lastUserName_ = channel.ReadString("LastUserName");
        passwordStore_.ReadFromChannel(channel);
        // What a later version holds beyond this is for it to know.
        if (version > DataVersion)
            return;
        // Not used, so nothing wrong in there keeps the user from his passwords.
        if (channel.PeekName() == "WebServers")
            channel.SkipElement("WebServers");
        channel.LeaveElement("SyncraInfo");
    });
}

void SyncraInfo::ConvertFromPrevVersion()
{
    const auto file = fileLocation_.Parent().Appended(PreviousFileName);
    if (!IO::File::Exists(file))
        return;
    OV::Array<SYCB::ServerConnectionInfo> servers;
    Core::ReadValueFile(file, [&](OV::XMLIChannel& channel) {
        channel.EnterElement("SyncraInfo");
        if (channel.ReadInt32("DataVersion") >= PreviousVersionWithMessageSetting)
            messageSetting_ = channel.ReadBool("SYMessageSetting");
        lastServerName_ = channel.ReadString("LastServerName");
        (void)channel.ReadInt16("LastPort");
        (void)channel.ReadString("AutoLogInUserName");
        lastUserName_ = channel.ReadString("LastUserName");
        passwordStore_.ReadFromChannel(channel);
        servers = ReadServers(channel);
        channel.LeaveElement("SyncraInfo");
    });
    for (const auto& server : servers)
        SYCB::ConnectionValidator::GetInstance().SetWorkingConnectionForServer(server, true);
}

void SyncraInfo::WriteToDisc() const
{
    const Core::InfoFileLock lock(LockLocation());
    Core::ReplaceValueFile(fileLocation_, MakeDocument(), true);
}

void SyncraInfo::SaveSyncraInfo()
{
    DropUnknownLastUser();
    WriteToDisc();
}

void SyncraInfo::Update(const std::function<void(SyncraInfo&)>& change)
{
    const Core::InfoFileLock lock(LockLocation());
    ReadFromDisc();
    change(*this);
    DropUnknownLastUser();
    const OV::XMLOChannel document = MakeDocument();
    if (!IsStored(document))
        Core::ReplaceValueFile(fileLocation_, document, true);
}

void SyncraInfo::DropUnknownLastUser()
{
    if (!IsUserInDefaultList(lastUserName_))
        lastUserName_.clear();
}

/// Whether the file holds just this. What cannot be read is written.
bool SyncraInfo::IsStored(const OV::XMLOChannel& document) const
{
    try {
        return IO::File::ReadAll(fileLocation_) == document.Text();
    } catch (const IO::IOException&) {
        return false;
    }
}

OV::XMLOChannel SyncraInfo::MakeDocument() const
{
    OV::XMLOChannel channel;
    channel.EnterElement("SyncraInfo");
    channel.WriteInt16("DataVersion", DataVersion);
    channel.WriteBool("SYMessageSetting", messageSetting_);
    channel.WriteString("LastServerName", lastServerName_);
    channel.WriteString("LastUserName", lastUserName_);
    try {
        passwordStore_.WriteToChannel(channel);
    } catch (const OV::Exception& failure) {
        throw Core::ErrorWritingFile(fileLocation_, failure);
    }
    // Always empty: the servers are kept by the connection validator.
    channel.EnterElement("WebServers");
    channel.WriteUInt32("Size", 0);
    channel.LeaveElement("WebServers");
    channel.LeaveElement("SyncraInfo");
    return channel;
}

void SyncraInfo::SetLastUserNameAndPassword(const OV::UniString& user, const OV::Secret& password)
{
    if (!IsUserInDefaultList(user))
        return;
    SetUserDefaultPassword(user, password);
    lastUserName_ = user;
}

bool SyncraInfo::UserToBeChecked(const IO::Location& projectLocation) const
{
    try {
        const auto connection = SYC::ToCheckedConnectionInfo(projectLocation);
        return GetUserNumber() != 0 &&
               GetUserPassword(connection.userName, connection.serverName) != connection.password;
    } catch (...) {
        return true;
    }
}

}  // namespace Syncra::Server::ManagementTool::GUI
