#include "Messaging/MessagingTest.hpp"

#include "Mail/HostAction.hpp"
#include "Mail/MailTest.hpp"
#include "Messaging/Detail/OpenedProject.hpp"

#include "IO/ExclusiveFile.hpp"
#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "Messaging/MailAnswer.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Resources.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "Support/AlertRecorder.hpp"
#include "Support/StoreEdit.hpp"

#include <cstdlib>
#include <fstream>
#include <future>
#include <sys/wait.h>

using SYCB::PresenceState;

namespace {

constexpr int Ok = SYC::MailResult::Succeeded;

using MailClientTest = MessagingTest;

}  // namespace

TEST_F(MailClientTest, StopsTheFlushOfflineAndResumesItOnline)
{
    const auto anna = MakeHost("anna.novak");
    anna->Open();
    anna->SetPresence(PresenceState::Online);
    anna->Send(u"0", {u"yuki.tanaka"});
    anna->Await([&] { return anna->sent.size() == 1; }, "a signed-in client");
    server.Pause();
    for (const auto* text : {u"1", u"2", u"3", u"4"})
        anna->Send(text, {u"yuki.tanaka"});
    anna->Await([&] { return anna->client->IsSending(); }, "a mail on its way");
    anna->SetPresence(PresenceState::Offline);
    server.Resume();
    anna->Await([&] { return !anna->client->IsSending(); }, "the end of the flush");
    SYCB::MessageLoop::RunPending();
    EXPECT_LE(anna->sent.size(), 2u) << "nothing follows the mail that was under way";
    anna->SetPresence(PresenceState::Online);
    anna->Await([&] { return anna->sent.size() == 5; }, "the rest");
    const auto texts = TextsOf("yuki.tanaka");
    EXPECT_EQ(texts.size(), 5u);
    for (const auto& [text, count] : texts)
        EXPECT_EQ(count, 1) << OV::ToUtf8(text);
}

TEST_F(MailClientTest, AnswersAndForwardsUnderBothIdsWithFullNames)
{
    using SYC::MailAnswer;
    auto host = MakeHost("anna.novak");
    host->SetPresence(PresenceState::Online);
    const auto asked = Deliver("marco.rossi", {u"anna.novak"}, u"May I?", MailType::Request);
    host->Open();
    OV::Ref<ClientMail> request, copy;
    ASSERT_TRUE(host->client->GetMail(asked, request));
    EXPECT_THROW(host->client->Answer(*request, MailAnswer::Revoke, {}, nullptr),
                 OV::IllegalArgumentException);
    const auto answer = host->client->Answer(*request, MailAnswer::Accept, {u"Yes"}, host.get());
    EXPECT_TRUE(request->IsRead() && request->IsHistorical());
    EXPECT_FALSE(MailClient::MayAnswer(*request, MailAnswer::Deny)) << "it was answered";
    const auto forwarded =
        host->client->Forward(*request, {u"lena.fischer"}, {u"Look"}, host.get());
    host->Await([&] { return host->delivered.size() == 2 && host->sent.size() == 2; }, "both");
    const auto refreshes = host->refreshes;
    host->client->RefreshMails(SYC::RefreshMailListReason::ServerSignal);
    host->Await([&] { return host->refreshes > refreshes; }, "the copies");
    ASSERT_TRUE(host->client->GetMail(host->delivered[answer.GetId()], copy));
    EXPECT_EQ(copy->GetType(), MailType::RequestAccepted);
    EXPECT_EQ(copy->GetParentMailId(), asked);
    EXPECT_EQ(copy->GetSenderFullName(), host->manager.FindCache()->GetUserName());
    EXPECT_FALSE(copy->GetRecipientsFullName().empty());
    ASSERT_TRUE(host->client->GetMail(host->delivered[forwarded.GetId()], copy));
    EXPECT_EQ(copy->GetBodyText(), u"Look\n\nFrom Marco Rossi:\nMay I?");
    EXPECT_EQ(TextsOf("lena.fischer")[copy->GetBodyText()], 1);
}

TEST_F(MailClientTest, TriesAgainByItselfOnceTheServerIsLessBusy)
{
    const auto anna = MakeHost("anna.novak");
    Communication::HttpOptions quick;
    quick.requestTimeoutMilliseconds = 900;  // shorter than the pauses that the server asks for
    Communication::SetDefaultHttpOptions(quick);
    anna->Open();
    anna->SetPresence(PresenceState::Online);
    {
        const StoreLock lock(server.StorePath());
        anna->Send(u"a mail", {u"yuki.tanaka"});
        const auto mail = *anna->client->GetOutboxMails().front();
        SYC::OutboxStatus status;
        anna->Await(
            [&] { return (status = anna->client->GetOutboxStatus(mail)).nextTry.has_value(); },
            "a pause");
        EXPECT_EQ(status.reason, SYC::OutboxReason::TriedAgain);
        EXPECT_TRUE(status.failure);
        EXPECT_GT(*status.nextTry, std::chrono::steady_clock::now());
        anna->Await([&] { return anna->sent.size() > 1; }, "a second attempt");
    }
    anna->Await([&] { return anna->client->GetOutboxMails().empty(); }, "the delivery");
    Communication::SetDefaultHttpOptions({});
    EXPECT_EQ(TextsOf("yuki.tanaka"), (std::map<OV::UniString, int>{{u"a mail", 1}}));
}

TEST_F(MailClientTest, ARefusedMailWaitsAndHoldsUpNoOther)
{
    const auto anna = MakeHost("anna.novak");
    anna->Open();
    const auto refused = anna->Send(u"to nobody", {u"sofia.costa"});  // of another project
    anna->Send(u"to Yuki", {u"yuki.tanaka"});
    anna->SetPresence(PresenceState::Online);
    anna->Await([&] { return anna->sent.size() == 2; }, "both results");
    EXPECT_EQ(anna->sent, (decltype(anna->sent){{u"to nobody", 12}, {u"to Yuki", Ok}}));
    ASSERT_EQ(anna->client->GetOutboxMails().size(), 1u);
    const auto reasonOfFirst = [&] {
        return anna->client->GetOutboxStatus(*anna->client->GetOutboxMails().front()).reason;
    };
    EXPECT_EQ(reasonOfFirst(), SYC::OutboxReason::Refused);
    anna->client->DeleteOutboxMails({refused});
    EXPECT_TRUE(anna->client->GetOutboxMails().empty());
    // A refusal of the user would meet every mail: one is enough.
    const auto awaitEndOfFlush = [&] {
        anna->Await([&] { return !anna->client->IsSending(); }, "the end of the flush");
        SYCB::MessageLoop::RunPending();
    };
    anna->SetPresence(PresenceState::Offline);
    anna->Send(u"1", {u"yuki.tanaka"});
    anna->Send(u"2", {u"yuki.tanaka"});
    awaitEndOfFlush();
    EXPECT_EQ(reasonOfFirst(), SYC::OutboxReason::Offline);
    RemoveMember(u"anna.novak");
    anna->SetPresence(PresenceState::Online);
    awaitEndOfFlush();
    EXPECT_EQ(anna->sent.size(), 3u);
    EXPECT_EQ(anna->sent.back(), (std::pair<OV::UniString, int>(u"1", 13)));
    EXPECT_EQ(anna->client->GetOutboxMails().size(), 2u);
    EXPECT_EQ(reasonOfFirst(), SYC::OutboxReason::Refused);
    ClientMail toNobody;
    EXPECT_THROW(anna->client->SendMail({}, toNobody, nullptr), OV::IllegalArgumentException);
}

TEST_F(MailClientTest, SharesItsFilesWithAProcessThatKnowsLess)
{
    const SYC::MailActionDescriptor kind(&HostAction::Make, HostAction::Id);
    std::ofstream(folder.Path() / "password") << ServerProcess::Password << '\n';
    const auto syclient = [&](const std::string& user, const std::string& words) {
        const auto command = std::string(SYCLIENT_TEST_CLI) + " mail " + words +
                             " -s 127.0.0.1 -p " + std::to_string(server.ModelPort()) + " -u " +
                             user + " -n 'Harbour Bridge' --password-file '" +
                             (folder.Path() / "password").string() + "' --data-folder '" +
                             OV::ToUtf8(DataFolder().ToPath()) + "' >/dev/null 2>&1";
        return WEXITSTATUS(std::system(command.c_str()));
    };
    const auto anna = MakeHost("anna.novak");
    anna->Open();
    ClientMail reservation;
    reservation.SetBodyText(u"with an action");
    reservation.SetActionList(MailTest::MakeActions({OV::MakeRef<HostAction>("wall 7")}));
    anna->client->SendMail({u"yuki.tanaka"}, reservation, anna.get());
    const auto dropped = OV::ToUtf8(anna->Send(u"dropped", {u"yuki.tanaka"}));
    anna->Send(u"written offline", {u"yuki.tanaka"});
    server.Terminate();
    EXPECT_EQ(syclient("anna.novak", "send --to yuki.tanaka --text 'of the other'"), 11);
    server.Start();
    EXPECT_EQ(anna->client->GetOutboxMails().size(), 4u) << "each sees what the other added";
    EXPECT_EQ(syclient("anna.novak", "outbox --drop " + dropped), 0);
    EXPECT_EQ(syclient("anna.novak", "outbox --flush"), 0);
    EXPECT_EQ(TextsOf("yuki.tanaka"),
              (std::map<OV::UniString, int>{{u"written offline", 1}, {u"of the other", 1}}));
    EXPECT_EQ(anna->client->GetOutboxMails().size(), 1u) << "it waits for who knows its action";
    anna->SetPresence(PresenceState::Online);
    anna->Await([&] { return anna->sent.size() == 3; }, "word of every mail");
    std::map<OV::UniString, int> results(anna->sent.begin(), anna->sent.end());
    EXPECT_EQ(results,
              (std::map<OV::UniString, int>{{u"with an action", Ok},
                                            {u"dropped", SYC::MailResult::TakenByOther},
                                            {u"written offline", SYC::MailResult::TakenByOther}}));

    // The recipient's files, too, go through a process without the kind, which fetches them.
    anna->client.reset();
    const auto yuki = MakeHost("yuki.tanaka");
    EXPECT_EQ(syclient("yuki.tanaka", "list"), 0);
    yuki->Open();
    const auto mails = yuki->client->GetMails();
    ASSERT_EQ(mails.size(), 3u);
    EXPECT_EQ(syclient("yuki.tanaka", "read --id " + OV::ToUtf8(mails[2]->GetId())), 0);
    yuki->client->ReadFromDisc();
    EXPECT_TRUE(yuki->client->GetMails()[2]->IsRead());
    yuki->client.reset();
    yuki->Open();
    const auto& carried = yuki->client->GetMails()[2]->GetActionList();
    ASSERT_TRUE(carried);
    EXPECT_EQ(MailTest::ActionBytes(*carried->at(0)), MailTest::ActionBytes(HostAction("wall 7")));
}

TEST_F(MailClientTest, WritesEverySixthMarkAndSendsTheMarksAtLogOut)
{
    for (int number = 0; number < 7; ++number)
        Deliver("anna.novak", {u"yuki.tanaka"}, OV::ToText(number));
    const auto yuki = MakeHost("yuki.tanaka");
    yuki->Open();
    const auto& mails = yuki->client->GetMails();
    ASSERT_EQ(mails.size(), 7u);
    const auto awaitFile = [&] {
        yuki->Await([&] { return !yuki->client->HasUnwrittenMails(); }, "the file");
    };
    awaitFile();
    const auto before = IO::File::ReadAll(yuki->MailsFile());
    for (int mark = 0; mark < 5; ++mark) {
        yuki->client->SetMailReadMessage(*mails[mark]);
        yuki->client->SetMailReadMessage(*mails[mark]);  // counts once
    }
    EXPECT_EQ(IO::File::ReadAll(yuki->MailsFile()), before);
    EXPECT_EQ(yuki->listChanges, 5);
    yuki->client->SetMailHistoricalMessage(*mails[0]);
    const auto written = IO::File::ReadAll(yuki->MailsFile());
    EXPECT_NE(written, before);
    yuki->client->SetMailReadMessage(*mails[5]);
    yuki->client->SetMailReadMessage(*mails[6]);
    for (int mark = 2; mark < 5; ++mark)
        yuki->client->SetMailHistoricalMessage(*mails[mark]);
    // Whoever holds the file up does not hold up the host.
    std::promise<void> isHeld, letGo;
    std::thread holder([&, folder = yuki->Folder()] {
        const auto hold = IO::ExclusiveFile::Open(folder.Appended(u"Mails.dat.lock"));
        isHeld.set_value();
        letGo.get_future().wait();
    });
    isHeld.get_future().wait();
    yuki->client->SetMailHistoricalMessage(*mails[5]);
    EXPECT_EQ(yuki->listChanges, 12);
    EXPECT_EQ(IO::File::ReadAll(yuki->MailsFile()), written);
    letGo.set_value();
    holder.join();
    awaitFile();
    EXPECT_NE(IO::File::ReadAll(yuki->MailsFile()), written);
    // One mark is in memory alone now; log-out takes it to the server all the same.
    yuki->client->SetMailHistoricalMessage(*mails[6]);
    ASSERT_TRUE(yuki->client->SynchronizeLogOut());
    EXPECT_TRUE(yuki->client->IsLogOut());
    std::uint64_t after = 0;
    for (const auto& [id, read] : Connect("yuki.tanaka")->GetMailStatus(ProjectId(), after))
        EXPECT_TRUE(read) << OV::ToUtf8(id);
    after = 0;
    auto historical = Connect("yuki.tanaka")->GetMailHistorical(ProjectId(), after);
    EXPECT_TRUE(historical.at(mails[0]->GetId()) && historical.at(mails[6]->GetId()));
    EXPECT_FALSE(historical.at(mails[1]->GetId()));
    for (const auto& mail : mails)
        EXPECT_FALSE(mail->IsModify());
}

TEST_F(MailClientTest, MarksThatDoNotReachTheServerWaitForTheNextLogOut)
{
    Deliver("anna.novak", {u"yuki.tanaka"}, u"text");
    const auto yuki = MakeHost("yuki.tanaka");
    yuki->Open();
    yuki->client->SetMailReadMessage(*yuki->client->GetMails()[0]);
    server.Terminate();
    AlertRecorder alerts;
    EXPECT_FALSE(yuki->client->SynchronizeLogOut());
    EXPECT_EQ(alerts.Numbers(), std::vector<int>{31049});
    yuki->client.reset();
    server.Start();
    yuki->Open();
    EXPECT_TRUE(yuki->client->GetMails()[0]->IsModify());
    EXPECT_TRUE(yuki->client->SynchronizeLogOut());
    std::uint64_t after = 0;
    EXPECT_TRUE(Connect("yuki.tanaka")->GetMailStatus(ProjectId(), after).begin()->second);
}

TEST_F(MailClientTest, MarksAndDeletesOnTheServerAndShowsFailures)
{
    AlertRecorder alerts;
    const auto first = Deliver("anna.novak", {u"yuki.tanaka"}, u"first");
    const auto second = Deliver("anna.novak", {u"yuki.tanaka"}, u"second");
    const auto yuki = MakeHost("yuki.tanaka");
    yuki->Open();
    OV::Ref<ClientMail> mail;
    ASSERT_TRUE(yuki->client->GetMail(first, mail));
    yuki->client->SetMailRead(first, true);
    yuki->client->SetMailHistorical(first, true);
    yuki->client->DeleteMail(second, yuki.get());
    yuki->Await([&] { return !yuki->deletions.empty(); }, "the deletion");
    EXPECT_EQ(yuki->deletions, std::vector<int>{Ok});
    EXPECT_TRUE(mail->IsRead());
    EXPECT_TRUE(mail->IsHistorical());
    EXPECT_FALSE(mail->IsModify());
    EXPECT_FALSE(yuki->client->GetMail(second, mail));
    EXPECT_EQ(TextsOf("yuki.tanaka").size(), 1u);
    EXPECT_TRUE(alerts.Numbers().empty());

    server.Terminate();
    yuki->client->DeleteMail(first, yuki.get());
    yuki->client->SetMailRead(first, false);
    yuki->Await([&] { return alerts.Numbers().size() == 2; }, "two alerts");
    EXPECT_EQ(alerts.Numbers(), (std::vector<int>{31041, 31049}));
    EXPECT_EQ(yuki->deletions.back(), SYC::MailResult::NotReached);
    EXPECT_TRUE(yuki->client->GetMail(first, mail));
}

TEST_F(MailClientTest, TakesOverTheFlagsOfTheServerAndFetchesEachMailOnce)
{
    const auto id = Deliver("anna.novak", {u"yuki.tanaka"}, u"first");
    const auto yuki = MakeHost("yuki.tanaka");
    yuki->Open();
    Connect("yuki.tanaka")->SetMailStatus(ProjectId(), {{id, true}});
    Deliver("anna.novak", {u"yuki.tanaka"}, u"second");
    yuki->client->RefreshMails(SYC::RefreshMailListReason::ServerSignal);
    yuki->client->RefreshMails(SYC::RefreshMailListReason::ServerSignal);  // joins the next one
    yuki->Await([&] { return yuki->refreshes == 3; }, "two refreshes");
    EXPECT_EQ(yuki->lastReason, SYC::RefreshMailListReason::ServerSignal);
    ASSERT_EQ(yuki->client->GetMails().size(), 2u);
    EXPECT_EQ(yuki->newMails.size(), 2u);
    EXPECT_TRUE(yuki->client->GetMails()[0]->IsRead());
    EXPECT_GE(yuki->listChanges, 1);
    // Mails of the same second as the last one come again and are known. What was deleted
    // elsewhere, or here while the file could not be written, goes with the first refresh after a
    // start; what a server lost that was restored from an older copy stays.
    const auto restore = [&] { Sql("DELETE FROM mail_entries; DELETE FROM mail_keys"); };
    for (const std::size_t left : {2u, 1u, 1u}) {
        yuki->client.reset();
        yuki->refreshes = 0;
        yuki->Open();
        EXPECT_EQ(yuki->client->GetMails().size(), left);
        EXPECT_EQ(yuki->client->GetMail(id, yuki->newMails[0]), left == 2);
        left == 2 ? Connect("yuki.tanaka")->DeleteMails(ProjectId(), {id}) : restore();
    }
}

/// What the mails of the file are known to show spares the next start the rest, and misleads it
/// never.
TEST_F(MailClientTest, AStartGoesByTheChangeBesideTheFileWhereItBelongsToIt)
{
    const auto yuki = MakeHost("yuki.tanaka");
    const auto changeFile = yuki->Folder().Appended(u"Mails.dat.change");
    const auto keep = [](const OV::String& text) { return text; };
    const std::function<OV::String(const OV::String&)> tampers[] = {
        keep,
        [](const OV::String& text) { return "999999999" + text.substr(text.find(' ')); },
        [](const OV::String& text) { return text + "1"; },
        [](const OV::String&) { return OV::String(200, '7'); },
        {},
    };
    std::size_t count = 0;
    for (const auto& tamper : tampers) {
        std::vector<OV::UniString> ids;
        for (const char16_t* text : {u"read", u"done", u"deleted", u"left"})
            ids.push_back(Deliver("anna.novak", {u"yuki.tanaka"}, text));
        yuki->refreshes = 0;
        yuki->Open();
        ASSERT_EQ(yuki->client->GetMails().size(), count + 4);
        yuki->client.reset();
        const auto text = IO::File::ReadAll(changeFile);
        if (tamper)
            (void)IO::File::Replace(changeFile, tamper(text));
        else
            IO::File::Delete(changeFile);
        const auto other = Connect("yuki.tanaka");
        other->SetMailStatus(ProjectId(), {{ids[0], true}});
        other->SetMailHistorical(ProjectId(), {{ids[1], true}});
        // Once without a deletion, so that the count agrees.
        for (const bool isDeleted : {false, true}) {
            if (isDeleted)
                other->DeleteMails(ProjectId(), {ids[2]});
            const auto fresh = Deliver("anna.novak", {u"yuki.tanaka"}, u"new");
            yuki->refreshes = 0;
            yuki->Open();
            const auto has = [&](const OV::UniString& id, auto isSo) {
                OV::Ref<ClientMail> mail;
                return yuki->client->GetMail(id, mail) && isSo(*mail);
            };
            const auto isThere = [](const ClientMail&) { return true; };
            EXPECT_TRUE(has(ids[0], [](const auto& mail) { return mail.IsRead(); }));
            EXPECT_TRUE(has(ids[1], [](const auto& mail) { return mail.IsHistorical(); }));
            EXPECT_FALSE(has(ids[3], [](const auto& mail) { return mail.IsRead(); }));
            EXPECT_EQ(has(ids[2], isThere), !isDeleted);
            EXPECT_TRUE(has(fresh, isThere));
            count = yuki->client->GetMails().size();
            yuki->client.reset();
        }
    }
}

TEST_F(MailClientTest, RequestsOfFormerMembersBecomeHistory)
{
    const auto request = Deliver("omar.haddad", {u"anna.novak"}, u"r", MailType::Request);
    const auto note = Deliver("omar.haddad", {u"anna.novak"}, u"n", MailType::Normal);
    const auto stays = Deliver("yuki.tanaka", {u"anna.novak"}, u"r", MailType::Request);
    const auto copy = Deliver("anna.novak", {u"omar.haddad"}, u"c", MailType::Request);
    const auto anna = MakeHost("anna.novak");
    anna->manager.StartSignals(ProjectId());
    anna->members.Init();
    anna->Open();
    anna->Await([&] { return anna->members.IsKnown() && anna->client->IsOnline(); }, "the members");
    EXPECT_TRUE(anna->members.IsMember(u"omar.haddad"));
    const auto isHistory = [&](const OV::UniString& id) {
        OV::Ref<ClientMail> mail;
        return anna->client->GetMail(id, mail) && mail->IsHistorical();
    };
    // Who joins and asks at once is a member, whichever of the two is told first; and so is who
    // does it while nobody listens.
    const auto asks = [&](const OV::UniString& text) {
        const auto id = Deliver("sofia.costa", {u"anna.novak"}, text, MailType::Request);
        anna->Await([&] { return anna->members.IsMember(u"sofia.costa"); }, "the new member");
        OV::Ref<ClientMail> mail;
        anna->Await([&] { return anna->client->GetMail(id, mail); }, "her request");
        anna->client->SetMailRead(id, true);  // goes behind whatever marks were sent for it
        anna->Await([&] { return mail->IsRead(); }, "a mark");
        return id;
    };
    AddMember(u"sofia.costa");
    const auto live = asks(u"live");
    EXPECT_FALSE(isHistory(live) || isHistory(request));
    RemoveMember(u"sofia.costa");
    anna->Await([&] { return isHistory(live); }, "her request to become history");
    server.Terminate();
    anna->Await([&] { return !anna->client->IsOnline(); }, "the loss");
    server.Start();
    AddMember(u"sofia.costa");
    EXPECT_FALSE(isHistory(asks(u"missed")));

    RemoveMember(u"omar.haddad");
    anna->Await([&] { return isHistory(request); }, "the request to become history");
    EXPECT_FALSE(anna->members.IsMember(u"omar.haddad"));
    EXPECT_FALSE(isHistory(note));
    EXPECT_FALSE(isHistory(stays));
    EXPECT_FALSE(isHistory(copy));
    std::uint64_t after = 0;
    EXPECT_TRUE(Connect("anna.novak")->GetMailHistorical(ProjectId(), after).at(request));
    // A request that comes when its sender has left already.
    anna->client.reset();
    const auto late = Deliver("yuki.tanaka", {u"anna.novak"}, u"late", MailType::Request);
    RemoveMember(u"yuki.tanaka");
    anna->Await([&] { return !anna->members.IsMember(u"yuki.tanaka"); }, "Yuki to leave");
    anna->Open();
    anna->Await([&] { return isHistory(late); }, "the late request to become history");
}

TEST_F(MailClientTest, ARefreshThatGoesWrongKeepsNoOtherAway)
{
    struct Thrower final : SYC::MailClientObserver {
        void MailListChanged(MailClient&) override { throw 1; }
        void NewMailExists(MailClient&, OV::Ref<MailList>,
                           SYC::RefreshMailListReason::Value) override
        {
            throw 2;
        }
    };
    for (const auto* text : {u"first", u"second"})
        Deliver("anna.novak", {u"yuki.tanaka"}, text);
    const auto yuki = MakeHost("yuki.tanaka");
    yuki->Open();
    const auto refresh = [&] {
        yuki->client->RefreshMails(SYC::RefreshMailListReason::ServerSignal);
    };
    const auto awaitRefresh = [&](int count) {
        yuki->Await([&] { return yuki->refreshes >= count; }, "a refresh");
    };
    Thrower thrower;
    yuki->client->Attach(thrower);
    refresh();
    awaitRefresh(2);
    yuki->client->Detach(thrower);

    // An answer that nobody takes.
    yuki->client->SetExecutor(nullptr);
    refresh();
    yuki->client->SetExecutor(&yuki->executor);
    yuki->Await([&] { return (refresh(), yuki->refreshes >= 3); }, "the next one");

    // A list that is cleared meanwhile.
    server.Pause();
    refresh();
    yuki->client->Clear();
    server.Resume();
    yuki->Await([&] { return yuki->client->GetMails().size() == 2; }, "all mails once more");

    // A failure while the project counts as online, and one before it does.
    yuki->SetPresence(PresenceState::Online);
    server.Terminate();
    refresh();
    yuki->Await([&] { return yuki->failedRefreshes > 0; }, "a failure");
    EXPECT_EQ(yuki->client->GetLastFailure().kind, SYC::FailureKind::NotReached);
    const int before = yuki->refreshes;
    server.Start();
    awaitRefresh(before + 1);
    EXPECT_FALSE(yuki->client->GetLastFailure());
    yuki->client.reset();
    yuki->SetPresence(PresenceState::Offline);
    server.Terminate();
    yuki->refreshes = yuki->failedRefreshes = 0;
    yuki->Open();
    server.Start();
    yuki->SetPresence(PresenceState::Online);
    awaitRefresh(1);
}

TEST_F(MailClientTest, APasswordCountsFromTheNextRequestOn)
{
    const auto anna = MakeHost("anna.novak");
    SYC::OpenedProject project(anna->manager);
    project.Ask([&](auto&) { project.SetPassword(u"another"); });
    EXPECT_THROW(project.Ask([](auto&) {}), Communication::ResponseContentException);
}

TEST_F(MailClientTest, AnObserverThatHasGoneIsNotTold)
{
    struct Told final : SYC::MailClientActionResultObserverOverExecutor {
        Told(OV::Executor* executor, int& count)
            : MailClientActionResultObserverOverExecutor(executor), results(count)
        {}
        ~Told() override { ToDestroy(); }
        void _SendMailCompletedFromExecutor(const ClientMail&, const NameList&, int) override
        {
            ++results;
        }
        void _DeleteMailCompletedFromExecutor(const OV::PagedArray<OV::UniString>&, int) override {}
        int& results;
    };
    int results = 0;
    const auto anna = MakeHost("anna.novak");
    anna->Open();
    auto gone = std::make_unique<Told>(&anna->executor, results);
    Told stays(&anna->executor, results);
    anna->SetPresence(PresenceState::Online);
    ClientMail mail;
    anna->client->SendMail({u"yuki.tanaka"}, mail, gone.get());
    anna->client->SendMail({u"yuki.tanaka"}, mail, &stays);
    gone.reset();
    anna->Await([&] { return anna->client->GetOutboxMails().empty() && results > 0; }, "results");
    anna->Await([&] { return !anna->client->IsSending(); }, "the end of the flush");
    SYCB::MessageLoop::RunPending();
    EXPECT_EQ(results, 1);
}

TEST_F(MailClientTest, KeepsADamagedFileAndUsesWhatCouldBeRead)
{
    const auto anna = MakeHost("anna.novak");
    anna->Open();
    anna->Send(u"first", {u"yuki.tanaka"});
    anna->Send(u"second", {u"yuki.tanaka"});
    anna->client.reset();
    const auto file = anna->Folder().Appended(u"Outbox.dat");
    const auto damaged = IO::File::ReadAll(file).substr(0, IO::File::ReadAll(file).size() - 3);
    IO::File::Replace(file, damaged);
    LogCapture log;
    anna->Open();
    ASSERT_EQ(anna->client->GetOutboxMails().size(), 1u);
    EXPECT_EQ(anna->client->GetOutboxMails()[0]->GetBodyText(), u"first");
    EXPECT_EQ(IO::File::ReadAll(anna->Folder().Appended(u"Outbox.dat.damaged-1")), damaged);
    EXPECT_TRUE(log.Mentions("Outbox.dat.damaged-1"));
    EXPECT_EQ(MailClient::m_instance, anna->client.get());
    EXPECT_THROW(anna->Open(), OV::IllegalArgumentException);  // one at a time
}
