#include "Connection/ConnectionTest.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "Support/FaultProxy.hpp"

using SYC::CheckResult;
using Fault = FaultProxy::Fault;

class CheckFaultTest : public ConnectionTest {
protected:
    ~CheckFaultTest() override { Communication::SetDefaultHttpOptions({}); }

    /// Lets one request after the other meet the fault until a check meets none; every failed check
    /// must be told as one, and the next one must pass.
    void FailEachRequestInTurn(Fault fault, bool andAllLater)
    {
        FaultProxy proxy(server.ModelPort());
        int number = 0;
        for (;; ++number) {
            SCOPED_TRACE("request " + std::to_string(number));
            ASSERT_LT(number, 20) << "a check takes fewer requests";
            Sql("DELETE FROM sessions");
            TemporaryFolder caches(TemporaryFolder::UserFolders::Leave);
            Host host(Url("anna.novak", u"Harbour Bridge", proxy.Port()), caches.GetLocation());
            SYC::WriteProjectConnection connection(&host.manager);
            proxy.FailAt(number, fault, andAllLater);
            // An honest answer takes as long as it takes on a busy machine.
            Communication::HttpOptions quick;
            if (fault == Fault::Silence)
                quick.requestTimeoutMilliseconds = 2'000;
            Communication::SetDefaultHttpOptions(quick);
            const auto result = connection.Check(true, false, false, false);
            Communication::SetDefaultHttpOptions({});
            const bool failed = proxy.HasFailed();
            proxy.FailNever();
            if (!failed) {
                EXPECT_EQ(result, CheckResult::Passed);
                break;
            }
            // Any answer of status 200 says that the write was done.
            if (fault != Fault::WrongJson || !proxy.HasFailedAtWrite())
                ExpectTold(result, host.events);
            EXPECT_EQ(connection.Check(true, false, true, false), CheckResult::Passed);
        }
        EXPECT_GE(number, 7) << "sign-in, projects, membership, sessions, start, attribute, state";
    }

    /// Offline without a word, or a membership that could not be asked for.
    static void ExpectTold(CheckResult result, const Events& events)
    {
        if (result == CheckResult::AccessDenied) {
            EXPECT_EQ(events, (Events{{11, u""}}));
        } else {
            EXPECT_EQ(result, CheckResult::Offline);
            EXPECT_TRUE(events.empty());
        }
    }
};

TEST_F(CheckFaultTest, AFaultInAnyStepIsOfflineAndMendedByTheNextCheck)
{
    FailEachRequestInTurn(Fault::Close, true);
    FailEachRequestInTurn(Fault::CloseInAnswer, true);
    for (const auto fault : {Fault::CloseInAnswer, Fault::Garbage, Fault::WrongJson,
                             Fault::ServerError, Fault::Silence})
        FailEachRequestInTurn(fault, false);
}
