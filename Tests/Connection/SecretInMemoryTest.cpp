#include "Connection/ConnectionTest.hpp"
#include "OVRoot/Secret.hpp"
#include "Support/OwnMemory.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

#include <gmock/gmock.h>

#include <array>

namespace {

template <class Unit, std::size_t Size>
consteval auto Turned(const Unit (&text)[Size])
{
    std::array<Unit, Size - 1> turned{};
    for (std::size_t at = 0; at < turned.size(); ++at)
        turned[at] = static_cast<Unit>(~text[at]);
    return turned;
}

template <class Units>
std::string_view BytesOf(const Units& units)
{
    return {reinterpret_cast<const char*>(units.data()), sizeof units};
}

/// What is looked for, with all bits turned, and the password that begins with it; its end is
/// longer on the wire than in memory.
constexpr auto Utf16 = Turned(u"Ebbe-und-Flut-7391-am-Leuchtturm");
constexpr auto Utf8 = Turned("Ebbe-und-Flut-7391-am-Leuchtturm");
constexpr auto Password = Turned(u"Ebbe-und-Flut-7391-am-Leuchtturm\"\u00df\u0007");

OV::Secret MakePassword()
{
    OV::UniString text(Password.size(), u'\0');
    std::transform(Password.begin(), Password.end(), text.begin(),
                   [](char16_t unit) { return static_cast<char16_t>(~unit); });
    return OV::Secret(std::move(text));
}

}  // namespace

class SecretInMemoryTest : public ConnectionTest {};

TEST_F(SecretInMemoryTest, NothingOfThePasswordStaysWhenAProjectIsClosed)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "A sanitizer keeps memory that was given back.";
#endif
    using testing::IsEmpty;
    using testing::SizeIs;
    {
        Syncra::Server::Management::UserRepository users({u"127.0.0.1", server.ManagementPort(),
                                                          u"anna.novak",
                                                          OV::FromUtf8(ServerProcess::Password)});
        users.SetUserPassword(users.FindUserByLoginName(u"anna.novak").value().id, MakePassword());
    }
    {
        SYC::Inner::ProjectConnectionInfo info;
        info.serverName = u"127.0.0.1";
        info.port = server.ModelPort();
        info.userName = u"anna.novak";
        info.password = MakePassword();
        info.projectName = u"Harbour Bridge";
        Host host(SYC::ToSyncraLocation(info), DataFolder());
        SYC::WriteProjectConnection connection(&host.manager);
        ASSERT_EQ(connection.ConnectAndAuthenticateToServer(), SYC::CheckResult::Passed);
        EXPECT_THAT(OwnMemory::Find(BytesOf(Utf16)), SizeIs(2)) << "this one's, the connection's";
        EXPECT_THAT(OwnMemory::Find(BytesOf(Utf8)), SizeIs(1)) << "kept to sign in again";
        ASSERT_EQ(connection.Check(true, false, false, false), SYC::CheckResult::Passed);
        ASSERT_TRUE(SYC::CloseSession(host.manager));
    }
    EXPECT_THAT(OwnMemory::Find(BytesOf(Utf16)), IsEmpty());
    EXPECT_THAT(OwnMemory::Find(BytesOf(Utf8)), IsEmpty());
}
