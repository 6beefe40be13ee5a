#include "ManagementTool/UserPasswordStore.hpp"

#include "OVRoot/Ascii.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"
#include "SYClientBase/PasswordCoding.hpp"
#include "SYCommunication/ServerAddress.hpp"

#include <algorithm>

namespace Syncra::Server::ManagementTool::Core {

namespace {

constexpr std::int16_t DataVersion = 1;

/// What counts of a server's name.
OV::UniString NormalisedServer(const OV::UniString& server)
{
    OV::UniString host = Communication::ServerAddress::FromServerName(server, 0).host;
    if (!OV::System::IsNumericHostAddress(OV::ToUtf8(host)))
        host.resize(std::min(host.find(u'.'), host.size()));
    return host;
}

/// The first entry for the server, or null.
template <class Entries>
auto FindServer(Entries& entries, const OV::UniString& server) -> decltype(&entries.front())
{
    const OV::UniString wanted = NormalisedServer(server);
    for (auto& entry : entries)
        if (OV::EqualsIgnoreCase(NormalisedServer(entry.serverName), wanted))
            return &entry;
    return nullptr;
}

}  // namespace

void UserPasswordStore::Password::Set(const OV::Secret& newText)
{
    text = newText;
    unreadable.clear();
}

void UserPasswordStore::Password::Write(OV::XMLOChannel& channel, OV::StringView name) const
{
    channel.WriteString(name, unreadable.empty() ? SYCB::CodePassword(text) : unreadable);
}

void UserPasswordStore::Password::Read(OV::XMLIChannel& channel, OV::StringView name)
{
    OV::UniString coded = channel.ReadString(name);
    try {
        text = SYCB::DecodePassword(coded);
    } catch (const SYCB::PasswordCodingException& error) {
        OV::Logger::Warning(OV::Logger::Library, u"UserPasswordStore: %", {error.GetMessage()});
        unreadable = std::move(coded);
    }
}

const UserPasswordStore::Entry* UserPasswordStore::FindEntry(const OV::UniString& user,
                                                             const OV::UniString& server) const
{
    const auto found = userTable_.find(user);
    return found == userTable_.end() ? nullptr : FindServer(found->second, server);
}

void UserPasswordStore::AddUser(const OV::UniString& user, const OV::UniString& server,
                                const OV::Secret& password)
{
    if (user.empty() || server.empty() || password.empty())
        return;
    Entries& entries = userTable_[user];
    Entry* entry = FindServer(entries, server);
    if (entry == nullptr) {
        entry = &entries.emplace_back();
        entry->serverName = server;
    }
    entry->password.Set(password);
}

void UserPasswordStore::RemoveUser(const OV::UniString& user)
{
    // A copy: the name may be a reference to the key that goes first.
    const OV::UniString name = user;
    userTable_.erase(name);
    defaultTable_.erase(name);
}

const OV::Secret& UserPasswordStore::GetUserPassword(const OV::UniString& user,
                                                     const OV::UniString& server) const
{
    const Entry* const entry = FindEntry(user, server);
    if (entry == nullptr || !entry->password.unreadable.empty())
        throw UserIsNotInListException(u"No password is stored for \"" + user + u"\" on \"" +
                                       server + u"\".");
    return entry->password.text;
}

const OV::Secret& UserPasswordStore::GetUserDefaultPassword(const OV::UniString& user) const
{
    static const auto& none = *new OV::Secret;
    const auto found = defaultTable_.find(user);
    return found == defaultTable_.end() ? none : found->second.text;
}

void UserPasswordStore::SetUserDefaultPassword(const OV::UniString& user,
                                               const OV::Secret& password)
{
    if (!user.empty() && !password.empty())
        defaultTable_[user].Set(password);
}

bool UserPasswordStore::IsUserInList(const OV::UniString& user) const
{
    return userTable_.contains(user);
}

bool UserPasswordStore::IsUserInDefaultList(const OV::UniString& user) const
{
    return defaultTable_.contains(user);
}

bool UserPasswordStore::IsUserInServerList(const OV::UniString& user,
                                           const OV::UniString& server) const
{
    const Entry* const entry = FindEntry(user, server);
    return entry != nullptr && entry->password.unreadable.empty();
}

OV::Array<OV::UniString> UserPasswordStore::GetUserList() const
{
    OV::Array<OV::UniString> users;
    for (const auto& [user, entries] : userTable_)
        users.push_back(user);
    std::sort(users.begin(), users.end());
    return users;
}

OV::Array<OV::UniString> UserPasswordStore::GetServerList(const OV::UniString& user) const
{
    OV::Array<OV::UniString> servers;
    if (const auto found = userTable_.find(user); found != userTable_.end())
        for (const Entry& entry : found->second)
            if (entry.password.unreadable.empty())
                servers.push_back(entry.serverName);
    return servers;
}

void UserPasswordStore::Clear()
{
    userTable_.clear();
    defaultTable_.clear();
}

void UserPasswordStore::WriteToChannel(OV::XMLOChannel& channel) const
{
    channel.EnterElement("UserPasswordArray");
    channel.WriteInt16("DataVersion", DataVersion);
    channel.WriteUInt32("Size", static_cast<std::uint32_t>(userTable_.size()));
    for (const OV::UniString& user : GetUserList()) {  // sorted: equal stores give equal files
        const Entries& entries = userTable_.at(user);
        channel.EnterElement("Item");
        channel.WriteString("UserName", user);
        if (const auto found = defaultTable_.find(user); found != defaultTable_.end())
            found->second.Write(channel, "DefaultPassword");
        else
            channel.WriteString("DefaultPassword", {});
        channel.WriteUInt32("Size", static_cast<std::uint32_t>(entries.size()));
        for (const Entry& entry : entries) {
            channel.EnterElement("Item");
            entry.password.Write(channel, "Password");
            channel.WriteString("ServerName", entry.serverName);
            channel.LeaveElement("Item");
        }
        channel.LeaveElement("Item");
    }
    channel.LeaveElement("UserPasswordArray");
}

void UserPasswordStore::ReadFromChannel(OV::XMLIChannel& channel)
{
    UserPasswordStore read;
    channel.EnterElement("UserPasswordArray");
    (void)channel.ReadInt16("DataVersion");
    for (std::uint32_t left = channel.ReadUInt32("Size"); left > 0; --left)
        read.ReadUser(channel);
    channel.LeaveElement("UserPasswordArray");
    userTable_.swap(read.userTable_);
    defaultTable_.swap(read.defaultTable_);
}

void UserPasswordStore::ReadUser(OV::XMLIChannel& channel)
{
    channel.EnterElement("Item");
    const OV::UniString user = channel.ReadString("UserName");
    // A user without servers stays one: whoever is known at all has to prove himself.
    Entries& entries = userTable_[user];
    Password& defaultPassword = defaultTable_[user];
    defaultPassword.Read(channel, "DefaultPassword");
    if (defaultPassword.text.empty() && defaultPassword.unreadable.empty())
        defaultTable_.erase(user);
    for (std::uint32_t left = channel.ReadUInt32("Size"); left > 0; --left) {
        Entry& entry = entries.emplace_back();
        channel.EnterElement("Item");
        entry.password.Read(channel, "Password");
        entry.serverName = channel.ReadString("ServerName");
        channel.LeaveElement("Item");
    }
    channel.LeaveElement("Item");
}

}  // namespace Syncra::Server::ManagementTool::Core
