#include "ManagementTool/UserPasswordStore.hpp"

#include "SYClientBase/PasswordCoding.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace {

using Syncra::Server::ManagementTool::Core::UserPasswordStore;
using Missing = UserPasswordStore::UserIsNotInListException;

class UserPasswordStoreTest : public testing::Test {
protected:
    static std::string Written(const UserPasswordStore& store)
    {
        OV::XMLOChannel channel;
        store.WriteToChannel(channel);
        return channel.Text();
    }
    static void Read(UserPasswordStore& store, const std::string& text)
    {
        OV::XMLIChannel channel(text, u"test");
        store.ReadFromChannel(channel);
    }
    static std::string Coded(OV::UniStringView password)
    {
        return OV::ToUtf8(SYCB::CodePassword(password));
    }

    TemporaryFolder folder;
};

TEST_F(UserPasswordStoreTest, AServerIsTheFirstLabelOfItsNameOrItsWholeAddress)
{
    const struct {
        const char16_t* stored;
        const char16_t* asked;
        bool isSame;
    } cases[] = {
        {u"nexar.example", u"nexar", true},
        {u"NEXAR", u"nexar.other.example", true},
        {u"https://nexar.example", u"nexar", true},
        {u"nexar", u"nexar2", false},
        {u"10.0.0.1", u"10.0.0.2", false},
        {u"https://10.0.0.1", u"https://10.0.0.2", false},
        {u"[::1]", u"::1", true},
        {u"10.example", u"10.0.0.1", false},
        {u"300.1.1.1", u"300.2.2.2", true},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(OV::ToUtf8(each.stored) + " / " + OV::ToUtf8(each.asked));
        UserPasswordStore store;
        store.AddUser(u"anna", each.stored, u"first");
        EXPECT_EQ(store.IsUserInServerList(u"anna", each.asked), each.isSame);
        if (each.isSame)
            EXPECT_EQ(store.GetUserPassword(u"anna", each.asked), u"first");
        else
            EXPECT_THROW((void)store.GetUserPassword(u"anna", each.asked), Missing);
        store.AddUser(u"anna", each.asked, u"second");
        EXPECT_EQ(store.GetUserPassword(u"anna", each.stored), each.isSame ? u"second" : u"first");
        EXPECT_EQ(store.GetServerList(u"anna").size(), each.isSame ? 1u : 2u);
    }
}

TEST_F(UserPasswordStoreTest, NothingEmptyIsStoredAndRemovalLeavesNothing)
{
    UserPasswordStore store;
    store.AddUser(u"", u"nexar", u"p");
    store.AddUser(u"anna", u"", u"p");
    store.AddUser(u"anna", u"nexar", u"");
    store.SetUserDefaultPassword(u"anna", u"");
    store.SetUserDefaultPassword(u"", u"p");
    EXPECT_FALSE(store.IsUserInList(u"anna") || store.IsUserInDefaultList(u"anna"));

    store.SetUserDefaultPassword(u"anna", u"default");
    EXPECT_EQ(store.GetUserNumber(), 0u) << "a default password makes nobody known on a server";
    store.AddUser(u"anna", u"nexar", u"p");
    store.SetUserPassword(u"anna", u"nexar", store.GetUserPassword(u"anna", u"nexar"));
    EXPECT_EQ(store.GetUserPassword(u"anna", u"nexar"), u"p") << "set to itself, it stays";
    EXPECT_THROW((void)store.GetUserPassword(u"Anna", u"nexar"), Missing);

    store.RemoveUser(u"anna");
    EXPECT_EQ(store.GetUserNumber(), 0u);
    EXPECT_EQ(store.GetUserDefaultPassword(u"anna"), u"");
    EXPECT_THROW((void)store.GetUserPassword(u"anna", u"nexar"), Missing);
}

TEST_F(UserPasswordStoreTest, PasswordsOfALostKeyAreKeptForLaterAndCanBeTypedAnew)
{
    UserPasswordStore store;
    store.AddUser(u"anna", u"nexar", u"old");
    store.AddUser(u"anna", u"other", u"older");
    store.SetUserDefaultPassword(u"anna", u"default");
    const std::string before = Written(store);

    const TemporaryFolder withAnotherKey;
    UserPasswordStore later;
    Read(later, before);
    EXPECT_EQ(later.GetUserNumber(), 1u) << "a known user does not become an unknown one";
    EXPECT_FALSE(later.IsUserInServerList(u"anna", u"nexar"));
    EXPECT_THROW((void)later.GetUserPassword(u"anna", u"nexar"), Missing);
    EXPECT_EQ(Written(later), before) << "the key may come back";
    later.AddUser(u"anna", u"nexar", u"new");
    EXPECT_EQ(later.GetUserPassword(u"anna", u"nexar"), u"new");
    EXPECT_NE(Written(later).find(Coded(u"new")), std::string::npos);
}

}  // namespace
