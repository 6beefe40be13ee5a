#include "Messaging/MessagingTest.hpp"

#include "Support/KillLoop.hpp"

#include "IO/File.hpp"

#include <fstream>

using SYCB::PresenceState;

namespace {

/// Every text that `promised` names stands exactly once, every other one at most once.
void ExpectExactlyOnce(const std::map<OV::UniString, int>& delivered,
                       const std::vector<OV::UniString>& promised)
{
    std::size_t lost = 0, doubled = 0;
    for (const auto& text : promised)
        lost += delivered.contains(text) ? 0 : 1;
    for (const auto& [text, count] : delivered)
        doubled += count > 1 ? 1 : 0;
    std::cout << promised.size() << " mails promised, " << lost << " lost, " << doubled
              << " doubled\n";
    EXPECT_EQ(lost, 0u);
    EXPECT_EQ(doubled, 0u);
}

std::vector<OV::UniString> ReadPromises(const std::filesystem::path& file)
{
    std::vector<OV::UniString> promised;
    std::ifstream promises(file);
    for (std::string line; std::getline(promises, line);)
        if (line.size() == 36)  // a line that the kill cut off was no promise
            promised.push_back(OV::FromUtf8(line));
    return promised;
}

using MailLossTest = MessagingTest;

}  // namespace

TEST_F(MailLossTest, NothingIsLostOrDoubledWhenTheClientIsKilled)
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
    std::size_t promised = 0;
    // The boxes are emptied after so many kills: a client that opens a large one does little else.
    const auto settle = [&] {
        {
            const auto anna = MakeHost("anna.novak");
            anna->SetPresence(PresenceState::Online);
            anna->Open();
            anna->Await([&] { return anna->client->GetOutboxMails().empty(); }, "an empty outbox");
        }
        const auto promises = ReadPromises(promisesFile);
        promised += promises.size();
        ExpectExactlyOnce(TextsOf("yuki.tanaka"), promises);
        std::filesystem::remove(promisesFile);
        IO::File::Delete(MakeHost("anna.novak")->MailsFile());
        Sql("DELETE FROM mail_entries");
    };
    int kills = 0;
    KillAtRandomInstants(work, std::chrono::milliseconds(120), [&] {
        if (++kills % 100 == 0)
            settle();
    });
    settle();
    EXPECT_GT(promised, 0u);
}

TEST_F(MailLossTest, NothingIsLostOrDoubledWhenTheServerIsKilled)
{
    const auto anna = MakeHost("anna.novak");
    anna->manager.StartSignals(ProjectId());
    anna->Open();
    std::vector<OV::UniString> promised;
    std::mt19937 random(std::random_device{}());
    const int kills = Rounds(8, 200);
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
