#include "ProjectTest.hpp"

#include "ClientProjectData.hpp"
#include "SYClientBase/PasswordCoding.hpp"
#include "SyncraURL.hpp"

namespace {

using SYC::Inner::ProjectConnectionInfo;

class SyncraURLTest : public ProjectTest {};

TEST_F(SyncraURLTest, RecognisesProjectUrls)
{
    EXPECT_TRUE(SYC::IsSyncraURL(IO::Location::FromUrlText(u"syncra://u:p@nexar:8080/Bridge")));
    EXPECT_TRUE(SYC::IsSyncraURL(IO::Location::FromUrlText(u"syncra://[::1]:1/a%2Fb")));
    for (const char16_t* text :
         {u"syncra://nexar/Bridge", u"syncra://nexar:0/Bridge", u"syncra://nexar:8080",
          u"syncra://nexar:8080/a/b", u"http://nexar:8080/Bridge", u"syncrax://nexar:8080/Bridge"})
        EXPECT_FALSE(SYC::IsSyncraURL(IO::Location::FromUrlText(text))) << OV::ToUtf8(text);

    IO::Location location = IO::Location::FromUrlText(u"syncra://nexar:8080/Bridge");
    location.SetScheme(u"SYNCRA");
    EXPECT_FALSE(SYC::IsSyncraURL(location));
    location.SetScheme(u"syncra");
    location.SetHost(u"");
    EXPECT_FALSE(SYC::IsSyncraURL(location));
    EXPECT_FALSE(SYC::IsSyncraURL({}));
    EXPECT_FALSE(SYC::IsSyncraURL(IO::Location::FromPath(u"/syncra/nexar")));
}

TEST_F(SyncraURLTest, AnyConnectionSurvivesTheUrlAndHidesItsPassword)
{
    const OV::UniString nasty[] = {
        u"Bridge", u"a/b\\c", u"50% of #1?", u"100%41", u" blank ", u"\x00e4\x4e2d\xd83d\xde00",
        u"..",     u"a@b:c",  u"\r\n\t",     u"+&="};
    for (const OV::UniString& name : nasty) {
        const ProjectConnectionInfo info{u"nexar", 65535, name, name, u"pa:ss@" + name};
        const OV::UniString text = SYC::ToUrl(SYC::ToSyncraLocation(info));
        const IO::Location read = IO::Location::FromUrlText(text);
        EXPECT_TRUE(SYC::IsSyncraURL(read)) << OV::ToUtf8(text);
        EXPECT_EQ(SYC::ToConnectionInfo(read), info) << OV::ToUtf8(text);
        EXPECT_EQ(text.find(u"pa:ss"), text.npos);
        EXPECT_EQ(text.find(u"pa%3A"), text.npos);
    }
    EXPECT_EQ(OV::ToUtf8(SYC::ToUrl(SYC::ToSyncraLocation({u"::1", 80, u"a b", u"me", u""}))),
              "syncra://me@[::1]:80/a%20b");
    IO::Location location = SYC::ToSyncraLocation({u"nexar", 80, u"a", u"me", u""});
    location.SetPassword(u"never-coded");
    EXPECT_THROW((void)SYC::ToConnectionInfo(location), SYCB::PasswordCodingException);
}

TEST_F(SyncraURLTest, TellsWhenThereIsNoUrl)
{
    for (const IO::Location& location :
         {IO::Location(), IO::Location::FromPath(u"/tmp"), IO::Location::MakeUrl(u"syncra")})
        EXPECT_EQ(SYC::ToUrl(location), u"Error in URL conversion");
}

TEST_F(SyncraURLTest, ProjectDataAndCacheFoldersLeadToTheSameUrl)
{
    const SYC::CachedProjectInfo cache({u"nexar", 40000,
                                        u"Br\x00fc"
                                        u"cke",
                                        u"me", u"secret"},
                                       Folder());
    const IO::Location url = SYC::GetSyncraURL(cache.GetCacheFolderLocation());
    EXPECT_EQ(OV::ToUtf8(SYC::ToUrl(url)), "syncra://me@nexar:40000/Br%C3%BCcke");

    const SYC::ClientProjectData data(u"nexar", u"me", u"", static_cast<std::int16_t>(40000),
                                      u"Br\x00fc"
                                      u"cke",
                                      u"", {}, {}, false);
    IO::Location fromData;
    data.ToSyncraLocation(fromData);
    EXPECT_EQ(fromData, url);
}

}  // namespace
