// The model of a list of mails beside the plainest thing: sorting a copy with std::stable_sort and
// filtering it from end to end.
#include "Beside.hpp"
#include "Messaging/MailListModel.hpp"
#include "Messaging/MemberCompletion.hpp"
#include "OVRoot/Collation.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/LetterCase.hpp"
#include "Scene.hpp"

#include <random>
#include <thread>

namespace {

using SYC::ClientMail;
using SYC::MailListModel;
using SYC::MailSort;

constexpr std::size_t Mails = 100'000;
constexpr std::size_t Members = 10'000;

/// A note of a few lines from one of fifty members.
OV::Ref<ClientMail> MakeMail(std::mt19937& random, std::int32_t time)
{
    Syncra::Protocol::Message message = ClientMail().ConvertToSyncraMessage();
    message.mailId = OV::Guid::Generate().ToText();
    message.timeStamp = time;
    auto mail = OV::MakeRef<ClientMail>();
    (void)mail->SyncraMessageConvertTo(message);
    mail->SetType(SYC::MailType::Normal);
    mail->SetSender(u"member." + OV::ToText(random() % 50));
    mail->SetRecipientsLoginName({u"anna.novak"});
    OV::UniString text = u"About wall " + OV::ToText(random() % 10'000);
    for (int line = 0; line < 4; ++line)
        text += u"\nThe north side moves by two bricks, please look at the drain below it.";
    mail->SetBodyText(std::move(text));
    return mail;
}

/// A model on a box of 100,000 mails. Each time that the thread of the host was taken is noted.
struct List {
    List()
    {
        std::mt19937 random(1);
        for (std::size_t count = 0; count < Mails; ++count)
            mails.push_back(MakeMail(random, static_cast<std::int32_t>(1000 + count)));
        Write();
        client = std::make_unique<SYC::MailClient>(manager->GetSignalClient(), *manager, members,
                                                   folder.GetLocation(), scene.executor);
        model = std::make_unique<MailListModel>(*client, scene.executor);
        Await();
        // The server knows nothing of these mails, and nothing more is asked of it.
        (void)SYCB::MessageLoop::RunUntil([this] { return !client->IsRefreshing(); }, 300'000);
        Write();
        client->ReadFromDisc();
        Await();
    }
    void Write() const
    {
        SYC::MailFile::Write(folder.GetLocation().Appended(SYC::MailFile::MailsName), mails);
    }
    /// Runs the message loop until the rows are there; returns the longest that a task took.
    Beside::Clock::duration Await() const
    {
        Beside::Clock::duration longest{};
        while (model->IsBusy()) {
            const auto start = Beside::Clock::now();
            if (SYCB::MessageLoop::RunPending() == 0) {
                std::this_thread::yield();
                continue;
            }
            longest = std::max(longest, Beside::Clock::now() - start);
        }
        return longest;
    }

    Scene scene;
    const std::unique_ptr<SYC::ClientProjectConnectionManager> manager = scene.Open(u"anna.novak");
    SYC::ProjectMembers members{manager->GetSignalClient(), *manager, scene.executor};
    const TemporaryFolder folder{TemporaryFolder::UserFolders::Leave};
    SYC::MailFile::MailList mails;
    std::unique_ptr<SYC::MailClient> client;
    std::unique_ptr<MailListModel> model;
};

bool HasWord(const ClientMail& mail, const OV::UniString& word)
{
    for (const auto& text : {mail.GetSender(), mail.GetRecipientsFullName(), mail.GetBodyText()})
        if (OV::LetterCase::Fold(text).find(word) != OV::UniString::npos)
            return true;
    return false;
}

void Report(benchmark::State& state, Beside::Clock::duration longest)
{
    state.counters["longest_task_ms"] = Beside::Microseconds(longest) / 1000;
}

/// From the key to the rows, with the words that one letter more makes.
void SearchMails(benchmark::State& state)
{
    List list;
    Beside::Clock::duration longest{};
    Beside beside(state, "searching 100,000 mails", "folding and searching each text", 1);
    for (auto _ : state) {
        list.model->SetSearch({});
        const auto ours = Beside::Time([&] {
            const auto start = Beside::Clock::now();
            list.model->SetSearch(u"WALL 77");
            longest = std::max({longest, Beside::Clock::now() - start, list.Await()});
        });
        beside.Add(ours, Beside::Time([&] {
                       std::vector<const ClientMail*> found;
                       for (const auto& mail : list.mails)
                           if (HasWord(*mail, u"wall") && HasWord(*mail, u"77"))
                               found.push_back(mail.Get());
                       if (found.size() != list.model->GetRowCount())
                           state.SkipWithError("other mails were found");
                   }));
    }
    Report(state, longest);
}
BENCHMARK(SearchMails)->UseManualTime()->Iterations(9)->Unit(benchmark::kMillisecond);

void SortMails(benchmark::State& state)
{
    List list;
    Beside::Clock::duration longest{};
    Beside beside(state, "sorting 100,000 mails by subject", "std::stable_sort by strcoll", 1);
    for (auto _ : state) {
        list.model->SetSort(MailSort::Time, true);
        (void)list.Await();
        const auto ours = Beside::Time([&] {
            const auto start = Beside::Clock::now();
            list.model->SetSort(MailSort::Subject, false);
            longest = std::max({longest, Beside::Clock::now() - start, list.Await()});
        });
        auto mails = list.mails;
        beside.Add(ours, Beside::Time([&] {
                       std::stable_sort(mails.begin(), mails.end(),
                                        [](const auto& left, const auto& right) {
                                            return OV::Collation::OfUser().Compare(
                                                       OV::ToUtf8(left->GetSubject()),
                                                       OV::ToUtf8(right->GetSubject())) < 0;
                                        });
                   }));
    }
    Report(state, longest);
}
BENCHMARK(SortMails)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

/// The time at which the client told it of changes.
struct Stamp final : SYC::MailClientObserver {
    void MailListChanged(SYC::MailClient&) override {}
    void NewMailExists(SYC::MailClient&, OV::Ref<MailList>,
                       SYC::RefreshMailListReason::Value) override
    {}
    void MailsChanged(SYC::MailClient&, const SYC::MailChanges&) override
    {
        time = Beside::Clock::now();
    }
    Beside::Clock::time_point time;
};

/// What ten mails that come cost the model, between two observers that do nothing.
void TakeTenMails(benchmark::State& state)
{
    List list;
    std::mt19937 random(2);
    Stamp before, after;
    list.model.reset();
    list.client->Attach(before);
    list.model = std::make_unique<MailListModel>(*list.client, list.scene.executor);
    list.client->Attach(after);
    (void)list.Await();
    Beside beside(state, "ten new mails in a list of 100,000", "sorting and filtering it anew",
                  0.02);
    for (auto _ : state) {
        for (int count = 0; count < 10; ++count)
            list.mails.push_back(MakeMail(random, static_cast<std::int32_t>(random() % Mails)));
        list.Write();
        list.client->ReadFromDisc();
        auto mails = list.mails;
        beside.Add(after.time - before.time, Beside::Time([&] {
                       std::stable_sort(mails.begin(), mails.end(),
                                        [](const auto& left, const auto& right) {
                                            return left->GetTime() > right->GetTime();
                                        });
                       std::vector<const ClientMail*> rows;
                       for (const auto& mail : mails)
                           if (!mail->IsCopy() && !mail->IsHistorical())
                               rows.push_back(mail.Get());
                       if (rows.size() != list.model->GetRowCount())
                           state.SkipWithError("other mails show");
                   }));
    }
    list.client->Detach(before);
    list.client->Detach(after);
}
BENCHMARK(TakeTenMails)->UseManualTime()->Iterations(5)->Unit(benchmark::kMicrosecond);

/// A letter, and some more of them.
void CompleteRecipient(benchmark::State& state)
{
    Scene scene;
    const auto manager = scene.Open(u"anna.novak");
    SYC::ProjectMembers members(manager->GetSignalClient(), *manager, scene.executor);
    SYC::MemberCompletion completion(members);
    OV::Array<SYC::ProjectMember> list;
    std::mt19937 random(3);
    const auto word = [&] {
        OV::UniString letters;
        for (int count = 0; count < 6; ++count)
            letters += static_cast<char16_t>(u'a' + random() % 26);
        return letters;
    };
    for (std::size_t count = 0; count < Members; ++count) {
        const auto first = word(), last = word();
        list.push_back(
            {static_cast<std::int16_t>(count),
             SYC::UserData(first + u'.' + last, first + u' ' + last, OV::Guid::Generate(), {}, 0),
             {}});
    }
    state.counters["build_ms"] =
        Beside::Microseconds(Beside::Time([&] { members.RefreshProjectMembers(list); })) / 1000;
    const OV::UniString typed =
        std::array{u"M", u"Ma", u"Mar"}[static_cast<std::size_t>(state.range(0) - 1)];
    Beside beside(state, "completing a recipient among 10,000 members", "looking at each name");
    const auto plain = [&] {
        std::vector<std::int16_t> found;
        const auto wanted = OV::LetterCase::Fold(typed);
        for (const auto& member : list) {
            const auto& name = member.data.GetFullName();
            const auto folded = OV::LetterCase::Fold(name);
            if (folded.starts_with(wanted) || folded.find(u' ' + wanted) != OV::UniString::npos)
                found.push_back(member.id);
        }
        benchmark::DoNotOptimize(found);
    };
    beside.Run([&] { benchmark::DoNotOptimize(completion.Complete(typed)); }, plain, 10);
}
BENCHMARK(CompleteRecipient)->DenseRange(1, 3)->UseManualTime()->Iterations(50);

}  // namespace
