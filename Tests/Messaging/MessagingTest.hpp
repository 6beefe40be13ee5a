#pragma once

#include "Connection/ConnectionTest.hpp"
#include "Messaging/MailClient.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

#include <map>

using SYC::ClientMail;
using SYC::MailClient;
using SYC::MailType;

/// One host with its project opened: members, mail box and what it was told. The presence is set by
/// the test unless it starts the signals.
class MailHost : public Host,
                 public SYC::MailClientObserver,
                 public SYC::MailClientActionResultObserver,
                 public SYC::OutboxObserver {
public:
    MailHost(const IO::Location& url, const IO::Location& dataFolder) : Host(url, dataFolder)
    {
        if (!manager.FindCache() || manager.FindCache()->GetProjectId().empty()) {
            SYC::ReadProjectConnection connection(&manager);
            EXPECT_EQ(connection.Check(true, false, false, false), SYC::CheckResult::Passed);
        }
        // A check that passed says online; here the tests say so.
        SetPresence(SYCB::PresenceState::Offline);
    }

    /// Makes the mail box and waits for its first refresh.
    void Open()
    {
        client = std::make_unique<MailClient>(manager.GetSignalClient(), manager, members, Folder(),
                                              executor);
        mailSubscription = client->Subscribe(*this);
        outboxSubscription = client->SubscribeOutbox(*this);
        Await([this] { return refreshes + failedRefreshes > 0; }, "the first refresh");
    }

    static void Await(const std::function<bool()>& done, const std::string& what)
    {
        // Some of what is waited for happens on other threads and posts nothing: look now and then.
        int looks = 3000;
        while (!SYCB::MessageLoop::RunUntil(done, 20))
            ASSERT_GT(--looks, 0) << "still waiting for " << what;
    }

    void SetPresence(SYCB::PresenceState state)
    {
        manager.GetSignalClient().GetPresenceService().SetState(state);
    }
    [[nodiscard]] IO::Location Folder() { return manager.FindCache()->GetCacheFolderLocation(); }
    [[nodiscard]] IO::Location MailsFile() { return Folder().Appended(u"Mails.dat"); }

    OV::UniString Send(const OV::UniString& text, const OV::Array<OV::UniString>& to)
    {
        ClientMail mail;
        mail.SetType(MailType::Normal);
        mail.SetBodyText(text);
        client->SendMail(to, mail, this);
        return mail.GetId();
    }

    void MailListChanged(MailClient&) override { ++listChanges; }
    void NewMailExists(MailClient&, OV::Ref<MailList> mails,
                       SYC::RefreshMailListReason::Value reason) override
    {
        ++refreshes;
        lastReason = reason;
        newMails.insert(newMails.end(), mails->begin(), mails->end());
    }
    void MailDelivered(MailClient&, const OV::UniString& localId,
                       const OV::UniString& serverId) override
    {
        delivered[localId] = serverId;
    }
    void RefreshMailsFailed(MailClient&, const OV::UniString&) override { ++failedRefreshes; }
    void SendMailCompleted(const ClientMail& mail, const NameList&, int result) override
    {
        sent.emplace_back(mail.GetBodyText(), result);
    }
    void DeleteMailCompleted(const OV::PagedArray<OV::UniString>&, int result) override
    {
        deletions.push_back(result);
    }
    void OutboxChanged() override { ++outboxChanges; }

    SYCB::MessageLoopExecutor executor;
    SYC::ProjectMembers members{manager.GetSignalClient(), manager, executor};
    std::unique_ptr<MailClient> client;
    int refreshes = 0;
    int failedRefreshes = 0;
    int listChanges = 0;
    int outboxChanges = 0;
    int lastReason = -1;
    OV::Array<OV::Ref<ClientMail>> newMails;
    std::vector<std::pair<OV::UniString, int>> sent;
    std::vector<int> deletions;
    std::map<OV::UniString, OV::UniString> delivered;
    OV::Subscription mailSubscription, outboxSubscription;
};

class MessagingTest : public ConnectionTest {
protected:
    using ConnectionTest::ConnectionTest;

    static constexpr const char16_t* Project = u"Harbour Bridge";

    std::unique_ptr<MailHost> MakeHost(const std::string& user)
    {
        return std::make_unique<MailHost>(Url(user, Project), DataFolder());
    }

    /// The server as that user sees it, beside any host.
    std::unique_ptr<Syncra::Client::SyncraClient> Connect(const std::string& user)
    {
        return SYCB::CreateSyncraClient(Url(user, Project));
    }
    static OV::UniString ProjectId() { return OV::FromUtf8(Sample::HarbourBridge); }
    inline static const std::string Members =
        "/root/syncrav2/projects/" + Sample::HarbourBridge + "/members";

    /// A mail that reaches its recipients without any outbox; its id.
    OV::UniString Deliver(const std::string& sender, const OV::Array<OV::UniString>& to,
                          const OV::UniString& text, MailType type = MailType::Normal)
    {
        ClientMail mail;
        mail.SetSender(OV::FromUtf8(sender));
        mail.SetRecipientsLoginName(to);
        mail.SetType(type);
        mail.SetBodyText(text);
        return Connect(sender)->SendMail(ProjectId(), to, mail.ConvertToSyncraMessage(),
                                         OV::Guid::Generate().ToText());
    }

    void RemoveMember(const OV::UniString& login)
    {
        ASSERT_EQ(Manager("admin").Ask("DELETE", Members + '/' + OV::ToUtf8(login)).Code(), 0);
    }
    void AddMember(const OV::UniString& login)
    {
        const nlohmann::json member{{"loginName", OV::ToUtf8(login)}, {"role", "Architect"}};
        ASSERT_EQ(Manager("admin").Ask("POST", Members, member.dump()).Code(), 0);
    }

    /// How often each text stands in the user's box on the server.
    std::map<OV::UniString, int> TextsOf(const std::string& user)
    {
        std::map<OV::UniString, int> texts;
        Connect(user)->GetMails(ProjectId(), 0, 0, [&] {
            const auto page = std::make_shared<std::vector<OV::UniString>>();
            return Syncra::Client::SyncraClient::MailPage{
                [page](const auto& mail) { page->push_back(mail.header.at(u"TextBody")); },
                [page, &texts](bool) {
                    for (const auto& text : *page)
                        ++texts[text];
                }};
        });
        return texts;
    }
};
