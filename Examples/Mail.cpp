// "Mail URL ask LOGIN" asks a member for the ownership of something; "Mail URL accept ANY" grants
// the first open request.
#include "CachedProjectInfo.hpp"
#include "Example.hpp"
#include "Messaging/MailAnswer.hpp"
#include "Messaging/MailClient.hpp"

#include <optional>

namespace {

class View : public SYC::MailClientObserver {
public:
    explicit View(SYC::MailClient& client) : subscription_(client.Subscribe(*this)) {}

    bool isFetched = false;
    std::optional<OV::UniString> delivered;

private:
    void MailListChanged(SYC::MailClient&) override {}
    void NewMailExists(SYC::MailClient&, OV::Ref<MailList> mails,
                       SYC::RefreshMailListReason::Value) override
    {
        for (const auto& mail : *mails)
            std::cout << "new from " << OV::ToUtf8(mail->GetSenderFullName()) << ": "
                      << OV::ToUtf8(mail->GetBodyText()) << '\n';
        isFetched = true;
    }
    void MailDelivered(SYC::MailClient&, const OV::UniString& localId,
                       const OV::UniString& serverId) override
    {
        std::cout << OV::ToUtf8(localId) << " is " << OV::ToUtf8(serverId) << " on the server\n";
        delivered = localId;
    }
    void RefreshMailsFailed(SYC::MailClient&, const OV::UniString& problem) override
    {
        std::cerr << OV::ToUtf8(problem) << '\n';
    }

    OV::Subscription subscription_;
};

OV::UniString Ask(SYC::MailClient& mails, const OV::UniString& login)
{
    SYC::ClientMail mail;
    mail.SetType(SYC::MailType::Request);
    mail.SetBodyText(u"May I have the east wing?");
    mails.SendMail({login}, mail, nullptr);  // safe on the disk from here on
    return mail.GetId();
}

OV::UniString Accept(SYC::MailClient& mails)
{
    for (const auto& mail : mails.GetMails())
        if (SYC::MailClient::MayAnswer(*mail, SYC::MailAnswer::Accept))
            return mails.Answer(*mail, SYC::MailAnswer::Accept, {u"It is yours."}, nullptr).GetId();
    throw OV::Exception(OV::StringView("There is no open request."));
}

}  // namespace

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 3, "PROJECT-URL ask|accept LOGIN", [](char** arguments) {
        SYCB::MessageLoopExecutor mainThread;
        Example::OpenedProject project(arguments[1]);
        project.manager.StartSignals(project.projectId);
        SYC::ProjectMembers members(project.manager.GetSignalClient(), project.manager, mainThread);
        members.Init();
        // The mails lie in the cache folder.
        SYC::MailClient mails(project.manager.GetSignalClient(), project.manager, members,
                              project.manager.FindCache()->GetCacheFolderLocation(), mainThread);
        View view(mails);
        Example::RunUntil([&] { return view.isFetched; }, "the mails cannot be fetched");
        const auto sent = arguments[2] == std::string("ask")
                              ? Ask(mails, OV::FromUtf8(arguments[3]))
                              : Accept(mails);
        Example::RunUntil([&] { return view.delivered == sent; }, "the mail was not delivered");
        (void)mails.SynchronizeLogOut();  // tells the server what was read
        project.manager.StopSignals();
        return 0;
    });
}
