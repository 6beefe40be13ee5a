#include "Messaging/MessagingTest.hpp"

#include "Support/KillLoop.hpp"

#include <fstream>
#include <iterator>
#include <random>
#include <thread>

using SYCB::PresenceState;

namespace {

/// Every text that `promised` names stands exactly once, every other one at most once.
void ExpectExactlyOnce(const std::map<OV::UniString, int>& delivered,
                       const std::vector<OV::UniString>& promised)
{
    for (const auto& text : promised) {
        const auto found = delivered.find(text);
        EXPECT_TRUE(found != delivered.end()) << "lost: " << OV::ToUtf8(text);
    }
    for (const auto& [text, count] : delivered)
        EXPECT_EQ(count, 1) << "came " << count << " times: " << OV::ToUtf8(text);
}

bool IsLong()
{
    const char* isLong = std::getenv("SYCLIENT_LONG");
    return isLong != nullptr && *isLong == '1';
}

}  // namespace

TEST_F(MessagingTest, NothingIsLostOrDoubledWhenTheClientIsKilled)
{
    const auto url = Url("anna.novak", Project);
    {
        const auto once = MakeHost("anna.novak");
    }  // opens the project
    const auto promisesFile = folder.Path() / "promises";
    const auto work = [&] {
        MailHost anna(url, DataFolder());
        anna.SetPresence(PresenceState::Online);
        anna.Open();
        std::ofstream promises(promisesFile, std::ios::app);
        for (;;) {
            const auto text = OV::Guid::Generate().ToText();
            anna.Send(text, {u"yuki.tanaka"});
            promises << OV::ToUtf8(text) << std::endl;
            SYCB::MessageLoop::RunPending();
        }
    };
    KillAtRandomInstants(work, std::chrono::milliseconds(120), [] {});
    const auto anna = MakeHost("anna.novak");
    anna->SetPresence(PresenceState::Online);
    anna->Open();
    anna->Await([&] { return anna->client->GetOutboxMails().empty(); }, "an empty outbox");
    std::vector<OV::UniString> promised;
    std::ifstream promises(promisesFile);
    for (std::string line; std::getline(promises, line);)
        if (line.size() == 36)  // a line that the kill cut off was no promise
            promised.push_back(OV::FromUtf8(line));
    EXPECT_FALSE(promised.empty());
    ExpectExactlyOnce(TextsOf("yuki.tanaka"), promised);
}

TEST_F(MessagingTest, NothingIsLostOrDoubledWhenTheServerIsKilled)
{
    const auto anna = MakeHost("anna.novak");
    anna->manager.StartSignals(ProjectId());
    anna->Open();
    std::vector<OV::UniString> promised;
    std::mt19937 random(std::random_device{}());
    const int kills = IsLong() ? 200 : 8;
    for (int kill = 0; kill < kills; ++kill) {
        for (int mail = 0; mail < 10; ++mail) {
            promised.push_back(OV::Guid::Generate().ToText());
            anna->Send(promised.back(), {u"yuki.tanaka"});
        }
        // Somewhere in the flush, the start of the server, or the pause before a new attempt.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000));
        server.Kill();
        server.Start();
        if (kill % 2 == 0)
            anna->Await([&] { return anna->client->IsOnline(); }, "the server");
        SYCB::MessageLoop::RunPending();
    }
    anna->Await([&] { return anna->client->GetOutboxMails().empty(); }, "an empty outbox");
    ExpectExactlyOnce(TextsOf("yuki.tanaka"), promised);
    // The sender's copies came by the signals that were missed meanwhile.
    anna->Await([&] { return anna->client->GetMails().size() == promised.size(); }, "all copies");
}
