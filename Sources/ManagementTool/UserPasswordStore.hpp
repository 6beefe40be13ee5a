#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"
#include "OVRoot/Secret.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// The passwords that each user has used on each server, and one default password a user. Servers
/// are compared by the first label of their host name in any letter case, so that "nexar" and
/// "nexar.example" are one; numeric addresses are compared whole. Clear text in memory, which is
/// overwritten when it goes; coded in files. One thread at a time.
class SYC_API UserPasswordStore {
public:
    /// No password is stored for that user on that server.
    class UserIsNotInListException : public OV::Exception {
    public:
        using Exception::Exception;
        OV_EXCEPTION_IDENTITY(UserIsNotInListException)
    };

    UserPasswordStore() = default;
    UserPasswordStore(const UserPasswordStore&) = delete;
    UserPasswordStore& operator=(const UserPasswordStore&) = delete;

    /// Adds or replaces the password of the user on the server. Nothing changes when one of the
    /// three is empty.
    void AddUser(const OV::UniString& user, const OV::UniString& server,
                 const OV::Secret& password);
    /// As AddUser.
    void SetUserPassword(const OV::UniString& user, const OV::UniString& server,
                         const OV::Secret& password)
    {
        AddUser(user, server, password);
    }
    /// Forgets all passwords of the user, the default one too.
    void RemoveUser(const OV::UniString& user);
    /// Throws UserIsNotInListException. The reference holds until the store changes.
    [[nodiscard]] const OV::Secret& GetUserPassword(const OV::UniString& user,
                                                    const OV::UniString& server) const;
    /// Empty when the user has none. The reference holds until the store changes.
    [[nodiscard]] const OV::Secret& GetUserDefaultPassword(const OV::UniString& user) const;
    /// Nothing changes when one of the two is empty. A user who has nothing but a default password
    /// is not written to files.
    void SetUserDefaultPassword(const OV::UniString& user, const OV::Secret& password);

    /// Whether a password of the user is stored for any server.
    [[nodiscard]] bool IsUserInList(const OV::UniString& user) const;
    /// Whether he has a default password.
    [[nodiscard]] bool IsUserInDefaultList(const OV::UniString& user) const;
    /// Whether GetUserPassword has an answer.
    [[nodiscard]] bool IsUserInServerList(const OV::UniString& user,
                                          const OV::UniString& server) const;
    /// All users but those who have nothing but a default password, sorted by name.
    [[nodiscard]] OV::Array<OV::UniString> GetUserList() const;
    /// How many users have any password.
    [[nodiscard]] std::size_t GetUserNumber() const noexcept { return userTable_.size(); }
    /// The servers for which the user has a password, in the order in which they were added.
    [[nodiscard]] OV::Array<OV::UniString> GetServerList(const OV::UniString& user) const;
    /// Forgets everybody.
    void Clear();

    /// Throws SYCB::PasswordCodingException.
    void WriteToChannel(OV::XMLOChannel& channel) const;
    /// Replaces the content. Throws OV::XMLChannelException and then changes nothing. A password
    /// that cannot be decoded (its key is gone) is kept as it is, for the next writing, and counts
    /// as not stored.
    void ReadFromChannel(OV::XMLIChannel& channel);

private:
    struct Password {
        OV::Secret text;
        OV::UniString unreadable;  ///< the coded form of what cannot be decoded

        void Set(const OV::Secret& newText);
        void Write(OV::XMLOChannel& channel, OV::StringView name) const;
        void Read(OV::XMLIChannel& channel, OV::StringView name);
    };
    struct Entry {
        Password password;
        OV::UniString serverName;
    };
    using Entries = OV::PagedArray<Entry>;

    [[nodiscard]] const Entry* FindEntry(const OV::UniString& user,
                                         const OV::UniString& server) const;
    void ReadUser(OV::XMLIChannel& channel);

    OV::HashTable<OV::UniString, Entries> userTable_;
    OV::HashTable<OV::UniString, Password> defaultTable_;
};

}  // namespace Syncra::Server::ManagementTool::Core
