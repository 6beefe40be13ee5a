// The mail client beside bare requests of the same content: delivering the outbox, fetching a box.
#include "BareClient.hpp"
#include "Beside.hpp"
#include "Messaging/MailClient.hpp"
#include "OVRoot/Guid.hpp"
#include "Scene.hpp"
#include "Support/StoreEdit.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <malloc.h>

namespace {

using SYC::ClientMail;
using SYC::MailClient;
using SYCB::PresenceState;

constexpr std::size_t FlushedMails = 1000;
constexpr std::size_t FetchedMails = 100'000;
constexpr const char* MailsPath = "/syncra/v1/projects/6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001/mails";

/// A note of a few lines.
OV::Ref<ClientMail> MakeMail(const OV::UniString& sender, const OV::UniString& recipient)
{
    auto mail = OV::MakeRef<ClientMail>();
    mail->SetId(OV::Guid::Generate().ToText());
    mail->SetSender(sender);
    mail->SetRecipientsLoginName({recipient});
    mail->SetSendingTime(1'700'000'000);
    mail->SetType(SYC::MailType::Normal);
    OV::UniString text;
    for (int line = 0; line < 4; ++line)
        text += u"The north wall moves by two bricks, please look at the drain below it.\n";
    mail->SetBodyText(std::move(text));
    return mail;
}

/// What the client sends for that mail.
std::string BodyOf(ClientMail& mail)
{
    return Syncra::Protocol::WriteJson(Syncra::Protocol::MailDelivery<Syncra::Protocol::Message>{
        mail.GetId(), mail.GetRecipientsLoginName(), mail.ConvertToSyncraMessage()});
}

/// The outbox of a thousand mails, safe on the disk throughout, until it is empty on the disk.
void FlushOutbox(benchmark::State& state)
{
    Scene scene;
    const auto manager = scene.Open(u"anna.novak");
    auto& presence = manager->GetSignalClient().GetPresenceService();
    SYC::ProjectMembers members(manager->GetSignalClient(), *manager, scene.executor);
    const auto folder = manager->FindCache()->GetCacheFolderLocation();
    BareClient bare(scene.server.ModelPort());
    bare.SignIn();
    Beside beside(state, "delivering an outbox of 1,000 mails", "posting them by curl");
    for (auto _ : state) {
        presence.SetState(PresenceState::Offline);
        SYC::MailFile::MailList mails;
        std::vector<std::string> bodies;
        for (std::size_t count = 0; count < FlushedMails; ++count) {
            mails.push_back(MakeMail(u"anna.novak", u"yuki.tanaka"));
            bodies.push_back(BodyOf(*MakeMail(u"anna.novak", u"yuki.tanaka")));
        }
        SYC::MailFile::Write(folder.Appended(SYC::MailFile::OutboxName), mails);
        const auto outboxFile = folder.Appended(SYC::MailFile::OutboxName);
        MailClient client(manager->GetSignalClient(), *manager, members, folder, scene.executor);
        (void)SYCB::MessageLoop::RunUntil([] { return false; }, 200);  // the first refresh

        const auto ours = Beside::Time([&] {
            presence.SetState(PresenceState::Online);
            while (IO::File::GetChangeStamp(outboxFile)->size > 4)
                (void)SYCB::MessageLoop::RunUntil([] { return false; }, 1);
        });
        beside.Add(ours, Beside::Time([&] {
                       for (const auto& body : bodies)
                           bare.Post(MailsPath, body);
                   }));
    }
}
BENCHMARK(FlushOutbox)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

/// Takes the pages of the box as they come and reads nothing but the cursor, then asks for the
/// flags that changed meanwhile.
std::size_t FetchBare(BareClient& bare)
{
    const auto behind = [](const std::string& page, const std::string& key) {
        const auto at = page.find(key) + key.size();
        return page.substr(at, page.find_first_of("\",}", at) - at);
    };
    std::string change;
    std::size_t bytes = 0;
    std::string cursor;
    do {
        const auto& page = bare.Get(std::string(MailsPath) + "?since=0" +
                                    (cursor.empty() ? std::string() : "&cursor=" + cursor));
        bytes += page.size();
        cursor = behind(page, "\"cursor\":\"");
        if (change.empty())
            change = behind(page, "\"change\":");
    } while (!cursor.empty());
    for (const char* flags : {"/status?after=", "/historical?after="})
        bytes += bare.Get(MailsPath + (flags + change)).size();
    return bytes;
}

struct Refreshed final : SYC::MailClientObserver {
    void MailListChanged(MailClient&) override {}
    void NewMailExists(MailClient&, OV::Ref<MailList> mails,
                       SYC::RefreshMailListReason::Value) override
    {
        isDone = true;
        count = mails->size();
    }
    bool isDone = false;
    std::size_t count = 0;
};

void FillBox(const Scene& scene)
{
    BareClient sender(scene.server.ModelPort());
    sender.SignIn();
    sender.Post(MailsPath, BodyOf(*MakeMail(u"anna.novak", u"yuki.tanaka")));
    // The others in the store itself: delivering each takes a flush of the disk.
    EditStore(
        scene.server.StorePath(),
        "WITH RECURSIVE copies(i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM copies WHERE i < " +
            std::to_string(FetchedMails) +
            ") INSERT INTO mails (id, project_id, time_stamp, header, body) "
            "SELECT id || i, project_id, time_stamp - i, header, body FROM mails, copies;"
            "INSERT INTO mail_entries SELECT e.user_id, e.project_id, m.time_stamp, m.number, "
            "e.is_copy, e.is_read, e.is_historical, e.read_change, e.historical_change "
            "FROM mail_entries e JOIN mails m ON m.number != e.mail WHERE e.is_copy = 0");
}

/// A box of 100,000 mails into an empty client, marks included. The file is written when the mails
/// are there, and is done before the other side begins.
void RefreshBox(benchmark::State& state)
{
    Scene scene;
    FillBox(scene);
    BareClient bare(scene.server.ModelPort());
    bare.SignIn("yuki.tanaka");
    double heldBytes = 0;
    Beside::Clock::duration toFile{};
    Beside beside(state, "fetching 100,000 mails into an empty client", "the same requests by curl",
                  2.5);
    for (auto _ : state) {
        const auto manager = scene.Open(u"yuki.tanaka");
        SYC::ProjectMembers members(manager->GetSignalClient(), *manager, scene.executor);
        const TemporaryFolder folder(TemporaryFolder::UserFolders::Leave);
        const auto before = mallinfo2().uordblks;
        Refreshed refreshed;
        const auto start = Beside::Clock::now();
        MailClient client(manager->GetSignalClient(), *manager, members, folder.GetLocation(),
                          scene.executor);
        client.Attach(refreshed);
        (void)SYCB::MessageLoop::RunUntil([&] { return refreshed.isDone; }, 300'000);
        const auto ours = Beside::Clock::now() - start;
        const auto file = folder.GetLocation().Appended(SYC::MailFile::MailsName);
        (void)SYCB::MessageLoop::RunUntil(
            [&] { return IO::File::GetChangeStamp(file).has_value(); }, 300'000);
        toFile = Beside::Clock::now() - start;
        if (refreshed.count != FetchedMails)
            state.SkipWithError("mails are missing");
        heldBytes = static_cast<double>(mallinfo2().uordblks - before) / FetchedMails;
        beside.Add(ours, Beside::Time([&] { benchmark::DoNotOptimize(FetchBare(bare)); }));
    }
    state.counters["bytes_a_mail"] = heldBytes;
    state.counters["until_file_is_written_ms"] =
        std::chrono::duration<double, std::milli>(toFile).count();
}
BENCHMARK(RefreshBox)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

/// Nothing new in that box: what each signal of another member's mail costs.
void RefreshNothing(benchmark::State& state)
{
    Scene scene;
    FillBox(scene);
    BareClient bare(scene.server.ModelPort());
    bare.SignIn("yuki.tanaka");
    const auto manager = scene.Open(u"yuki.tanaka");
    SYC::ProjectMembers members(manager->GetSignalClient(), *manager, scene.executor);
    const TemporaryFolder folder(TemporaryFolder::UserFolders::Leave);
    Refreshed refreshed;
    MailClient client(manager->GetSignalClient(), *manager, members, folder.GetLocation(),
                      scene.executor);
    client.Attach(refreshed);
    const auto await = [&] {
        (void)SYCB::MessageLoop::RunUntil([&] { return refreshed.isDone; }, 300'000);
    };
    await();
    const auto last = std::to_string(client.GetMails()[FetchedMails - 1]->GetRepositoryTime());
    Beside(state, "a refresh of them with nothing new", "one bare request", 1.5)
        .Run(
            [&] {
                refreshed.isDone = false;
                client.RefreshMails(SYC::RefreshMailListReason::ServerSignal);
                await();
            },
            [&] { bare.Get(MailsPath + ("?since=" + last)); });
    client.Detach(refreshed);
}
BENCHMARK(RefreshNothing)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
