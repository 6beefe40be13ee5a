#include "SyncraInfoTest.hpp"

#include "AuthenticateOnCache.hpp"
#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"
#include "SyncraURL.hpp"

#include <optional>

namespace {

using Missing = Syncra::Server::ManagementTool::Core::UserPasswordStore::UserIsNotInListException;

/// The host's opened project, of which only the location counts; without one it has none to tell.
class OpenedProject : public SYCB::ProjectConnectionManagerInterface {
public:
    explicit OpenedProject(std::optional<IO::Location> location) : location_(std::move(location)) {}

    IO::Location GetProjectLocation() const override
    {
        return location_ ? *location_ : throw OV::IllegalReferenceException(u"Nothing is open.");
    }
    std::shared_ptr<SYCB::CachedProjectInfo> GetCachedProjectInfo() override { return nullptr; }
    SYCB::PKSignalClient& GetSignalClient() override { return signals_; }
    OV::UniString GetSessionId() const override { return {}; }
    void PostEvent(std::int32_t, const OV::UniString&) override {}

private:
    std::optional<IO::Location> location_;
    SYCB::PKSignalClient signals_;
};

class AuthenticateOnCacheTest : public SyncraInfoTest {
protected:
    enum Outcome { Refused, Accepted, UserIsMissing, OtherError };
    static constexpr int DialogNumber = 32433;
    enum { Ok = 1, Cancel = 2, Server = 6, Project = 8, User = 10, Password = 12 };

    static IO::Location Url(const OV::UniString& user, const OV::UniString& server,
                            const OV::UniString& password)
    {
        return SYC::ToSyncraLocation({server, 40000, u"Br\u00fccke %s", user, password});
    }
    /// What the user does at each opening of the dialog; nothing is a press of Cancel.
    void Answer(const std::vector<std::optional<OV::UniString>>& answers)
    {
        for (const auto& answer : answers)
            toolkit.AddScript(DialogNumber, [answer](Dlg::HeadlessDialog& dialog) {
                EXPECT_EQ(dialog.GetText(Server), u"nexar.example:40000");
                EXPECT_EQ(dialog.GetText(Project), u"Br\u00fccke %s");
                EXPECT_EQ(dialog.GetText(User), u"anna");
                EXPECT_EQ(dialog.GetText(Password), u"");
                if (answer)
                    dialog.Type(Password, *answer);
                dialog.Press(answer ? Ok : Cancel);
            });
    }
    static Outcome Authenticate(SYCB::ProjectConnectionManagerInterface* project, bool silent)
    {
        try {
            return SYC::AuthenticateOnCache(project, silent) ? Accepted : Refused;
        } catch (const Missing&) {
            return UserIsMissing;
        } catch (const OV::Exception&) {
            return OtherError;
        }
    }
    static void Remember(const OV::UniString& password)
    {
        SyncraInfo().Update([&](SyncraInfo& info) {
            info.AddUser(u"anna", u"NEXAR.other", password);
            info.AddUser(u"anna", u"second", u"another");
        });
    }

    Dlg::HeadlessToolkit toolkit;
};

TEST_F(AuthenticateOnCacheTest, EveryWayIn)
{
    const OV::UniString server = u"nexar.example";
    IO::Location undecodable = Url(u"anna", server, u"right");
    undecodable.SetPassword(u"1changed");
    IO::Location withoutPort = Url(u"anna", server, u"right");
    withoutPort.SetPort(0);
    const std::optional<IO::Location> right = Url(u"anna", server, u"right");
    const std::optional<IO::Location> wrong = Url(u"anna", server, u"wrong");

    const struct {
        const char* name;
        const char16_t* stored;
        std::optional<IO::Location> location;
        std::vector<std::optional<OV::UniString>> answers;
        Outcome interactive;
        Outcome silent;
    } cases[] = {
        {"nobody is stored", u"", wrong, {}, Accepted, Accepted},
        {"the location's password is right", u"right", right, {}, Accepted, Accepted},
        {"typed right", u"right", wrong, {u"right"}, Accepted, Refused},
        {"typed wrong, then right", u"right", wrong, {u"wrong", u"right"}, Accepted, Refused},
        {"other letter case",
         u"right",
         Url(u"anna", server, u"Right"),
         {u"RIGHT", u"right ", u"righ", u"", std::nullopt},
         Refused,
         Refused},
        {"an unknown user", u"right", Url(u"Anna", server, u"right"), {}, UserIsMissing, Refused},
        {"no project URL", u"right", withoutPort, {}, OtherError, Refused},
        {"a coded password that was changed", u"right", undecodable, {}, OtherError, Refused},
        {"nothing is open", u"", std::nullopt, {}, OtherError, Refused},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        std::filesystem::remove(Path("SyncraInfo_v2.xml"));
        if (*each.stored != u'\0')
            Remember(each.stored);
        const std::string before = ReadBytes(Path("SyncraInfo_v2.xml"));
        const std::size_t openedBefore = toolkit.GetOpenedDialogs().size();
        OpenedProject project(each.location);

        EXPECT_EQ(Authenticate(&project, true), each.silent);
        EXPECT_EQ(toolkit.GetOpenedDialogs().size(), openedBefore);
        Answer(each.answers);
        EXPECT_EQ(Authenticate(&project, false), each.interactive);
        EXPECT_EQ(toolkit.GetOpenedDialogs().size(), openedBefore + each.answers.size());
        EXPECT_EQ(ReadBytes(Path("SyncraInfo_v2.xml")), before);
    }
    EXPECT_TRUE(toolkit.GetTextsShown(DialogNumber, Password).empty()) << "nothing records it";
    EXPECT_EQ(Authenticate(nullptr, true), Refused);
    EXPECT_EQ(Authenticate(nullptr, false), OtherError);
}

}  // namespace
