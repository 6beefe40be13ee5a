#pragma once

#include "IO/Location.hpp"
#include "ManagementTool/UserPasswordStore.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "SYClientBase/ServerConnectionInfo.hpp"
#include "SyncraProtocol/ProductVersion.hpp"

#include <functional>

namespace Syncra::Server::ManagementTool::GUI {

/// What the management tool remembers of its user from one run to the next: the last server and
/// user name, the message setting and the stored passwords, in "SyncraInfo_v2.xml" of the company's
/// folder in the roaming profile. All processes of the user share the file; readers see it whole at
/// any time, writers keep each other off by "@SYInfo.Lock" beside it. One thread at a time.
///
/// Reading throws Core::FileOpenningError and Core::ErrorReadingFile, writing
/// Core::FileOpenningError and Core::ErrorWritingFile, also for a password that cannot be coded.
/// Writing waits while another process holds the lock, without a limit; who must be able to get out
/// writes on an OV::Thread or in an executor's task, or below an OV::InterruptionScope, and is
/// thrown OV::InterruptedException, with the file untouched, when asked to stop.
class SYC_API SyncraInfo {
public:
    /// Makes the folder when it is missing (IO::IOException when it cannot be) and reads the file.
    SyncraInfo();
    SyncraInfo(const SyncraInfo&) = delete;
    SyncraInfo& operator=(const SyncraInfo&) = delete;

    /// Replaces the data by those of the file, or of the previous version's file when there is none
    /// of this version. Nothing is left when it throws.
    void ReadFromDisc();
    /// Replaces the file as a whole.
    void WriteToDisc() const;
    /// WriteToDisc, without a last user who is not in the default list.
    void SaveSyncraInfo();
    /// Reads the file, lets `change` work on the data and saves them, all under one lock: nothing
    /// that another process saved meanwhile is lost. `change` must not save itself; when it changes
    /// nothing, or throws, nothing is written.
    void Update(const std::function<void(SyncraInfo&)>& change);
    /// As a new object without a file.
    void ClearData();
    /// Reads "SyncraInfo.xml" of the previous version, if there is one. Its servers become working
    /// connections of SYCB::ConnectionValidator, the rest data of this object.
    void ConvertFromPrevVersion();

    /// Where the file stands, or would.
    [[nodiscard]] const IO::Location& GetFileLocation() const noexcept { return fileLocation_; }
    /// Whether the user wants messages of the management tool.
    /// @{
    [[nodiscard]] bool GetMessageSetting() const noexcept { return messageSetting_; }
    void SetMessageSetting(bool setting) noexcept { messageSetting_ = setting; }
    /// @}
    /// The server that was used last.
    /// @{
    [[nodiscard]] const OV::UniString& GetLastServerName() const noexcept
    {
        return lastServerName_;
    }
    void SetLastServerName(const OV::UniString& name) { lastServerName_ = name; }
    /// @}
    /// The login name that was used last.
    /// @{
    [[nodiscard]] const OV::UniString& GetLastUserName() const noexcept { return lastUserName_; }
    void SetLastUserName(const OV::UniString& name) { lastUserName_ = name; }
    /// @}
    /// Sets the default password of a user in the default list and makes him the last one; nothing
    /// changes for anybody else.
    void SetLastUserNameAndPassword(const OV::UniString& user, const OV::Secret& password);

    /// The password store's operations; see UserPasswordStore.hpp.
    void AddUser(const OV::UniString& user, const OV::UniString& server, const OV::Secret& password)
    {
        passwordStore_.AddUser(user, server, password);
    }
    /// Forgets all passwords of the user, the default one too.
    void RemoveUser(const OV::UniString& user) { passwordStore_.RemoveUser(user); }
    /// Throws UserPasswordStore::UserIsNotInListException. Holds until the data change.
    [[nodiscard]] const OV::Secret& GetUserPassword(const OV::UniString& user,
                                                    const OV::UniString& server) const
    {
        return passwordStore_.GetUserPassword(user, server);
    }
    /// As AddUser.
    void SetUserPassword(const OV::UniString& user, const OV::UniString& server,
                         const OV::Secret& password)
    {
        passwordStore_.SetUserPassword(user, server, password);
    }
    /// Empty when he has none. Holds until the data change.
    [[nodiscard]] const OV::Secret& GetUserDefaultPassword(const OV::UniString& user) const
    {
        return passwordStore_.GetUserDefaultPassword(user);
    }
    /// Nothing changes when one of the two is empty.
    void SetUserDefaultPassword(const OV::UniString& user, const OV::Secret& password)
    {
        passwordStore_.SetUserDefaultPassword(user, password);
    }
    /// Whether a password of the user is stored for any server.
    [[nodiscard]] bool IsUserInList(const OV::UniString& user) const
    {
        return passwordStore_.IsUserInList(user);
    }
    /// Whether one is stored for that server.
    [[nodiscard]] bool IsUserInServerList(const OV::UniString& user,
                                          const OV::UniString& server) const
    {
        return passwordStore_.IsUserInServerList(user, server);
    }
    /// Whether he has a default password.
    [[nodiscard]] bool IsUserInDefaultList(const OV::UniString& user) const
    {
        return passwordStore_.IsUserInDefaultList(user);
    }
    /// Those with a password for some server, by name.
    [[nodiscard]] OV::Array<OV::UniString> GetUserList() const
    {
        return passwordStore_.GetUserList();
    }
    /// How many users have any password.
    [[nodiscard]] std::size_t GetUserNumber() const noexcept
    {
        return passwordStore_.GetUserNumber();
    }
    /// Those for which the user has a password, in the order in which they were added.
    [[nodiscard]] OV::Array<OV::UniString> GetServerList(const OV::UniString& user) const
    {
        return passwordStore_.GetServerList(user);
    }

    /// Whether the user of a project must type his password before the project is opened from its
    /// cache: unless the password of the location is the stored one, or no user is stored at all.
    [[nodiscard]] bool UserToBeChecked(const IO::Location& projectLocation) const;

    /// Whether the server is of the version of this client, the one that serves its projects. A
    /// newer one does not: it would have to be known first.
    [[nodiscard]] static bool
    IsAvailableVersionForProjects(const SYCB::ServerConnectionInfo& server)
    {
        return server.serverVersion == Syncra::Protocol::ProductVersion;
    }

private:
    [[nodiscard]] IO::Location LockLocation() const;
    void ReadCurrentVersion();
    void DropUnknownLastUser();
    [[nodiscard]] bool IsStored(const OV::XMLOChannel& document) const;
    [[nodiscard]] OV::XMLOChannel MakeDocument() const;

    IO::Location fileLocation_;
    bool messageSetting_ = false;
    OV::UniString lastServerName_;
    OV::UniString lastUserName_;
    Core::UserPasswordStore passwordStore_;
};

}  // namespace Syncra::Server::ManagementTool::GUI
