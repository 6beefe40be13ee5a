#include "Messaging/MailListModel.hpp"

#include "Mail/MailTest.hpp"
#include "Messaging/MemberCompletion.hpp"
#include "Messaging/MessagingTest.hpp"

#include "OVRoot/Collation.hpp"
#include "OVRoot/LetterCase.hpp"

#include <random>

using SYC::MailListModel;
using SYC::MailSort;
using SYC::MailView;

namespace {

/// What a window shows that is told of the rows and reads none but those.
struct Mirror final : SYC::MailListModelObserver {
    explicit Mirror(MailListModel& shown) : subscription(shown.Subscribe(*this))
    {
        ListReset(shown);
    }

    void RowsToBeInserted(MailListModel& model, std::size_t, std::size_t) override
    {
        Unchanged(model);
    }
    void RowsInserted(MailListModel& model, std::size_t first, std::size_t count) override
    {
        for (std::size_t row = first; row < first + count; ++row)
            rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(row),
                        model.GetMail(row)->GetId());
        ++steps;
    }
    void RowsToBeRemoved(MailListModel& model, std::size_t, std::size_t) override
    {
        Unchanged(model);
    }
    void RowsRemoved(MailListModel&, std::size_t first, std::size_t count) override
    {
        const auto begin = rows.begin() + static_cast<std::ptrdiff_t>(first);
        rows.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
        ++steps;
    }
    void ListToBeReset(MailListModel& model) override { Unchanged(model); }
    void ListReset(MailListModel& model) override
    {
        rows.clear();
        for (std::size_t row = 0; row < model.GetRowCount(); ++row)
            rows.push_back(model.GetMail(row)->GetId());
        ++resets;
    }
    void Unchanged(MailListModel& model) const
    {
        ASSERT_EQ(model.GetRowCount(), rows.size());
        if (!rows.empty()) {
            EXPECT_EQ(model.GetMail(rows.size() - 1)->GetId(), rows.back());
        }
    }

    std::vector<OV::UniString> rows;
    int steps = 0;
    int resets = 0;
    OV::Subscription subscription;
};

bool IsOf(const ClientMail& mail, MailView view)
{
    switch (view) {
    case MailView::Waiting:
        return !mail.IsCopy() && !mail.IsHistorical() && mail.GetType() == MailType::Request;
    case MailView::Inbox:
        return !mail.IsCopy() && !mail.IsHistorical();
    case MailView::Sent:
        return mail.IsCopy();
    case MailView::History:
        return !mail.IsCopy() && mail.IsHistorical();
    default:
        return true;
    }
}

/// The rows as they are defined: the plainest filter and the plainest sort.
std::vector<OV::UniString> Expected(const MailListModel& model, const OV::UniString& word)
{
    OV::Array<OV::Ref<ClientMail>> mails;
    for (const auto& mail : model.GetClient().GetMails()) {
        const auto text = OV::LetterCase::Fold(mail->GetSender() + u'\n' + mail->GetBodyText());
        if (IsOf(*mail, model.GetView()) && text.find(word) != OV::UniString::npos)
            mails.push_back(mail);
    }
    const auto compare = [&](const ClientMail& left, const ClientMail& right) {
        const auto texts = [](const auto& one, const auto& other) {
            return OV::Collation::OfUser().Compare(OV::ToUtf8(one), OV::ToUtf8(other));
        };
        switch (model.GetSort()) {
        case MailSort::Time:
            return left.GetTime() - right.GetTime();
        case MailSort::Sender:
            return texts(left.GetSender(), right.GetSender());
        case MailSort::Importance:
            return static_cast<int>(left.GetImportance()) - static_cast<int>(right.GetImportance());
        case MailSort::Subject:
            return texts(left.GetSubject(), right.GetSubject());
        }
        return 0;
    };
    std::sort(mails.begin(), mails.end(), [&](const auto& left, const auto& right) {
        const int order = compare(*left, *right) * (model.IsDescending() ? -1 : 1);
        return order != 0 ? order < 0 : left->GetTime() > right->GetTime();
    });
    std::vector<OV::UniString> ids;
    for (const auto& mail : mails)
        ids.push_back(mail->GetId());
    return ids;
}

struct MailListModelTest : MessagingTest {
    /// A mail that another process has fetched.
    OV::Ref<ClientMail> MakeMail(OV::UniString parent = {})
    {
        static constexpr const char16_t* Senders[] = {u"anna.novak", u"Émile", u"eva", u"zoë"};
        static constexpr const char16_t* Words[] = {u"Wall", u"wall", u"ÜBER das Dach", u"drain"};
        auto message = ClientMail().ConvertToSyncraMessage();
        message.mailId = OV::Guid::Generate().ToText();
        message.timeStamp = static_cast<std::int32_t>(random() % 1000) * 100'000 + number++;
        message.copy = random() % 4 == 0;
        message.read = random() % 2 == 0;
        message.historical = random() % 3 == 0;
        auto mail = OV::MakeRef<ClientMail>();
        EXPECT_EQ(mail->SyncraMessageConvertTo(message), OV::ChannelOk);
        mail->SetType(random() % 2 == 0 ? MailType::Request : MailType::Normal);
        mail->SetSender(Senders[random() % 4]);
        mail->SetImportance(static_cast<SYC::Importance>(1 + random() % 3));
        mail->SetBodyText(OV::UniString(u"\n ") + Words[random() % 4] + u' ' +
                          OV::ToText(static_cast<int>(random() % 50)) + u"\nmore");
        mail->SetParentMailId(std::move(parent));
        return mail;
    }

    std::mt19937 random{7};
    std::int32_t number = 0;
};

}  // namespace

TEST_F(MailListModelTest, ShowsWhatTheDefinitionsSayWhateverHappens)
{
    const auto host = MakeHost("anna.novak");
    host->Open();
    MailListModel model(*host->client, host->executor);
    Mirror mirror(model);
    SYC::MailFile::MailList mails;
    OV::UniString word;
    const auto change = [&](std::size_t added, std::size_t removed) {
        for (std::size_t count = 0; count < std::min(removed, mails.size()); ++count)
            mails.erase(mails.begin() + static_cast<std::ptrdiff_t>(random() % mails.size()));
        for (std::size_t count = 0; count < added; ++count)
            mails.push_back(MakeMail());
        SYC::MailFile::Write(host->MailsFile(), mails);
        host->client->ReadFromDisc();
    };
    const auto mark = [&] {
        const auto& mail = host->client->GetMails()[random() % host->client->GetMails().size()];
        random() % 2 == 0 ? host->client->SetMailReadMessage(*mail)
                          : host->client->SetMailHistoricalMessage(*mail);
        host->client->WriteToDisc();
        mails = host->client->GetMails();
    };
    change(1500, 0);
    for (int step = 0; step < 300; ++step) {
        switch (random() % 9) {
        case 0:
            model.SetView(static_cast<MailView>(random() % 4 + (random() % 4 == 0 ? 2 : 0)));
            break;
        case 1:
            model.SetSort(static_cast<MailSort>(random() % 4), random() % 2 == 0);
            break;
        case 2:
            word = std::array{u"", u"wa", u"wall", u"wall 1", u"über", u"émi"}[random() % 6];
            model.SetSearch(OV::LetterCase::Fold(word) + u"  ");
            break;
        case 3:
            change(random() % 20 == 0 ? 700 : 3, random() % 20 == 0 ? 500 : 2);
            break;
        case 4:
        case 5:
            mark();
            break;
        default:
            // Often in the middle of what was begun.
            host->Await([&] { return !model.IsBusy(); }, "the rows");
            if (word == u"wall 1" || model.GetView() == MailView::Outbox)
                break;  // other words and places than the plain filter knows
            ASSERT_EQ(mirror.rows, Expected(model, word)) << step;
            for (std::size_t row = 0; row < mirror.rows.size(); row += 50)
                EXPECT_EQ(model.FindRow(mirror.rows[row]), row);
            std::array<SYC::MailCounts, 4> counts{};
            for (const auto& mail : host->client->GetMails())
                for (std::size_t view = 0; view < counts.size(); ++view)
                    if (IsOf(*mail, static_cast<MailView>(view))) {
                        ++counts[view].total;
                        counts[view].unread += !mail->IsRead() && !mail->IsCopy() ? 1 : 0;
                    }
            for (std::size_t view = 0; view < counts.size(); ++view)
                EXPECT_EQ(model.GetCounts(static_cast<MailView>(view)), counts[view]) << view;
        }
    }
    EXPECT_GT(mirror.steps, 50) << "few changes are told one by one";
}

TEST_F(MailListModelTest, FollowsAThreadThatLacksAMailOrGoesInACircle)
{
    const auto host = MakeHost("anna.novak");
    host->Open();
    MailListModel model(*host->client, host->executor);
    const auto first = MakeMail(u"deleted");
    const auto other = MakeMail(u"deleted");
    const auto answer = MakeMail(first->GetId());
    const auto circle = MakeMail(), back = MakeMail(circle->GetId());
    circle->SetParentMailId(back->GetId());
    SYC::MailFile::Write(host->MailsFile(), {answer, first, circle, other, back, MakeMail()});
    host->client->ReadFromDisc();
    host->Await([&] { return !model.IsBusy(); }, "the rows");
    ClientMail waiting;
    waiting.SetParentMailId(answer->GetId());
    host->client->SendMail({u"yuki.tanaka"}, waiting, nullptr);
    const auto idsOf = [&](const OV::UniString& id) {
        std::set<OV::UniString> ids;
        std::int32_t time = 0;
        for (const auto& mail : model.GetThread(id)) {
            ids.insert(mail->GetId());
            EXPECT_GE(mail->GetTime(), std::exchange(time, mail->GetTime()));
        }
        return ids;
    };
    const std::set<OV::UniString> thread{first->GetId(), other->GetId(), answer->GetId(),
                                         waiting.GetId()};
    for (const auto& id : thread)
        EXPECT_EQ(idsOf(id), thread);
    EXPECT_EQ(idsOf(back->GetId()), (std::set{circle->GetId(), back->GetId()}));
    EXPECT_TRUE(idsOf(u"deleted").empty());
    model.SetView(MailView::Outbox);
    ASSERT_EQ(model.GetRowCount(), 1u);
    EXPECT_EQ(model.GetMail(0)->GetId(), waiting.GetId());
    EXPECT_EQ(model.GetCounts(MailView::Outbox).total, 1u);
    host->client->DeleteOutboxMails({waiting.GetId()});
    EXPECT_EQ(model.GetRowCount(), 0u);
}

TEST_F(MailListModelTest, CompletesRecipientsByAnyWordOfTheirNames)
{
    const auto host = MakeHost("anna.novak");
    SYC::MemberCompletion completion(host->members);
    OV::Array<SYC::ProjectMember> members;
    const auto add = [&](const OV::UniString& login, const OV::UniString& name) {
        const auto id = static_cast<std::int16_t>(members.size() + 1);
        members.push_back({id, SYC::UserData(login, name, OV::Guid::Generate(), {}, 0), {}});
    };
    for (const auto& [login, name] :
         std::vector<std::pair<OV::UniString, OV::UniString>>{{u"anna.novak", u"Anna Nováková"},
                                                              {u"n.ann", u"Žofie Annová"},
                                                              {u"ann", u"Zed"},
                                                              {u"yuki", u"田中 雪"},
                                                              {u"hannah", u"Hannah B"}})
        add(login, name);
    host->members.RefreshProjectMembers(members);
    using Ids = OV::Array<SYC::MemberCompletion::MemberId>;
    for (const auto& [typed, ids] :
         std::vector<std::pair<OV::UniString, Ids>>{{u"ANN", {3, 1, 2}},
                                                    {u" anna nov", {1}},
                                                    {u"žof", {2}},
                                                    {u"雪", {4}},
                                                    {u"NOVÁK", {1}},
                                                    {u"nn", {}},
                                                    {u"  ", {}},
                                                    {u"anna novákováx", {}}})
        EXPECT_EQ(completion.Complete(typed), ids) << OV::ToUtf8(typed);
    EXPECT_EQ(completion.Complete(u"ann", 2), (Ids{3, 1}));
    members.erase(members.begin() + 2);
    host->members.RefreshProjectMembers(members);
    EXPECT_EQ(completion.Complete(u"ann"), (Ids{1, 2}));
}
