#include "Connection/ConnectionTest.hpp"

#include <cstdlib>
#include <latch>
#include <thread>

using SYC::CheckResult;
using SessionRaceTest = ConnectionTest;

/// Two clients of one user start at once; whoever comes second is answered code 17 and takes the
/// other's session.
TEST_F(SessionRaceTest, ClientsThatStartAtOnceShareOneSession)
{
    const int rounds = std::getenv("SYCLIENT_LONG") != nullptr ? 500 : 60;
    for (int round = 0; round < rounds; ++round) {
        Sql("DELETE FROM sessions");
        std::latch start(2);
        CheckResult results[2] = {};
        OV::UniString sessions[2];
        const auto run = [&](int number) {
            Host host(Url("anna.novak", u"Harbour Bridge"),
                      DataFolder().Appended(OV::ToText(round)).Appended(OV::ToText(number)));
            SYC::ReadProjectConnection connection(&host.manager);
            start.arrive_and_wait();
            results[number] = connection.Check(true, false, false, false);
            sessions[number] = connection.GetSessionId();
        };
        std::thread other(run, 1);
        run(0);
        other.join();
        ASSERT_EQ(results[0], CheckResult::Passed) << "round " << round;
        ASSERT_EQ(results[1], CheckResult::Passed) << "round " << round;
        ASSERT_EQ(sessions[0], sessions[1]);
    }
}
