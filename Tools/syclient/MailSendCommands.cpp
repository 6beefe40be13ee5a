#include "MailCommands.hpp"
#include "MailView.hpp"

#include "SyncraProtocol/ErrorCode.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>

namespace {

using SYC::ClientMail;
using SYC::Importance;
using SYC::MailType;

struct Letter {
    std::vector<std::string> to;
    std::optional<std::string> text;
    Importance importance = Importance::Low;
    std::string id;  ///< of the mail that is answered

    /// The text, or standard input when none was given.
    [[nodiscard]] OV::UniString Text() const
    {
        if (text)
            return OV::FromUtf8(*text);
        return OV::FromUtf8(std::string(std::istreambuf_iterator<char>(std::cin), {}));
    }
};

void AddTextOptions(CLI::App& command, Letter& letter, const std::string& whenMissing)
{
    command.add_option("-t,--text", letter.text, "The text; " + whenMissing)->option_text("TEXT");
    command.add_option("--importance", letter.importance, "low, medium or high")
        ->transform(CLI::CheckedTransformer(
            std::map<std::string, Importance>{{"low", Importance::Low},
                                              {"medium", Importance::Medium},
                                              {"high", Importance::High}},
            CLI::ignore_case))
        ->option_text("WORD");
}

/// Waits for the first attempt to deliver one mail.
class SendResult final : public SYC::MailClientActionResultObserverOverExecutor {
public:
    using MailClientActionResultObserverOverExecutor::MailClientActionResultObserverOverExecutor;
    ~SendResult() override { ToDestroy(); }
    std::optional<int> result;

private:
    void _SendMailCompletedFromExecutor(const ClientMail&, const NameList&, int code) override
    {
        result = code;
    }
    void _DeleteMailCompletedFromExecutor(const OV::PagedArray<OV::UniString>&, int) override {}
};

std::string Explain(int result)
{
    if (result == static_cast<int>(Syncra::Protocol::ErrorCode::NotFound))
        return "a recipient is no member of the project";
    if (result > 0)
        return "the server refused it with code " + std::to_string(result);
    return "the server did not answer";
}

void ReportSending(const ClientMail& mail, const std::optional<int>& result, Context& context)
{
    const bool isSent = result == SYC::MailResult::Succeeded;
    const auto id = ForDisplay(mail.GetId());
    if (result == SYC::MailResult::TakenByOther) {
        if (context.output.json)
            context.output.PrintJson({{"sent", nullptr}, {"id", ForJson(mail.GetId())}});
        else
            context.output.PrintLine("Another program that has the project open took the mail.");
        return;
    }
    if (!isSent)
        context.exitCode = result.value_or(-1) > 0 ? ExitCode::Failure : ExitCode::Offline;
    if (context.output.json)
        context.output.PrintJson({{"sent", isSent}, {"id", ForJson(mail.GetId())}});
    else if (isSent)
        context.output.PrintLine("Sent.");
    if (!isSent)
        context.output.Error(
            "The mail waits in the outbox" + (result ? ": " + Explain(*result) : std::string()) +
            ". \"syclient mail outbox --flush\" tries again, --drop " + id + " takes it out.");
}

OV::UniString FullNames(ProjectHost& host, const OV::Array<OV::UniString>& logins)
{
    OV::UniString names;
    for (const auto& login : logins) {
        OV::UniString name = login;
        (void)host.Members().GetFullNameFromLoginName(login, name);
        names += (names.empty() ? u"" : u", ") + name;
    }
    return names;
}

/// When the members are known, a wrong name is refused before it waits in the outbox for ever.
bool AreMembers(ProjectHost& host, Context& context, const OV::Array<OV::UniString>& logins)
{
    if (!host.Members().IsKnown())
        return true;
    const auto stranger = std::find_if(logins.begin(), logins.end(), [&](const auto& login) {
        return !host.Members().IsMember(login);
    });
    if (stranger == logins.end())
        return true;
    context.exitCode = ExitCode::NotFound;
    context.output.Error("\"" + ForDisplay(*stranger) +
                         "\" is no member of the project; \"syclient members\" lists them. Nothing "
                         "was sent.");
    return false;
}

bool IsInOutbox(ProjectHost& host, const OV::UniString& id)
{
    const auto waiting = host.Mails().GetOutboxMails();
    return std::any_of(waiting.begin(), waiting.end(),
                       [&](const auto& mail) { return mail->GetId() == id; });
}

bool Send(ProjectHost& host, Context& context, const OV::Array<OV::UniString>& logins,
          ClientMail& mail)
{
    const bool isOnline = host.GoOnline() && host.RefreshMembers();
    if (!AreMembers(host, context, logins))
        return false;
    mail.SetSender(host.Connection().userName);
    mail.SetSenderFullName(host.UserFullName());
    mail.SetRecipientsFullName(FullNames(host, logins));
    SendResult sending(&host.Executor());
    host.Mails().SendMail(logins, mail, &sending);
    context.output.Progress("The mail is safe in the outbox.");
    if (isOnline)
        (void)ProjectHost::WaitUntil(
            [&] { return sending.result || !host.IsOnline() || !host.Mails().IsSending(); });
    // One whose delivery could not be told has left the outbox all the same.
    if (!sending.result && !IsInOutbox(host, mail.GetId()))
        sending.result = SYC::MailResult::Succeeded;
    if (isOnline && !sending.result)
        (void)host.RequireOnline();
    ReportSending(mail, sending.result, context);
    return sending.result == SYC::MailResult::Succeeded;
}

void SendNew(ProjectHost& host, Context& context, const Letter& letter, MailType type)
{
    OV::Array<OV::UniString> logins;
    for (const auto& name : letter.to)
        logins.push_back(OV::FromUtf8(name));
    ClientMail mail;
    mail.SetType(type);
    mail.SetImportance(letter.importance);
    mail.SetBodyText(letter.Text());
    host.OpenMails();
    Send(host, context, logins, mail);
}

/// What kind of mail each answer needs, and what it makes of it.
struct Answer {
    MailType type;
    bool answersRequest;  ///< otherwise any mail
    bool ofOwnCopy;       ///< the user's own request, withdrawn
};

bool Fits(const ClientMail& mail, const Answer& answer, Context& context)
{
    if (!answer.answersRequest)
        return true;
    if (mail.GetType() == MailType::Request && mail.IsCopy() == answer.ofOwnCopy &&
        !mail.IsHistorical())
        return true;
    context.exitCode = ExitCode::Usage;
    context.output.Error(answer.ofOwnCopy
                             ? "The mail is no open request of yours."
                             : "The mail is no open request to you; it may have been answered.");
    return false;
}

void SendAnswer(ProjectHost& host, Context& context, const Letter& letter, const Answer& answer)
{
    (void)host.RefreshMails();
    const auto original = FindMail(host, context, letter.id);
    if (!original || !Fits(*original, answer, context))
        return;
    ClientMail mail;
    mail.SetType(answer.type);
    mail.SetImportance(letter.importance);
    mail.SetParentMailId(original->GetId());
    // An answer to a request says all by its kind; a reply without words says nothing.
    if (letter.text || !answer.answersRequest)
        mail.SetBodyText(letter.Text());
    const bool isSent = Send(host, context,
                             original->IsCopy() ? original->GetRecipientsLoginName()
                                                : OV::Array<OV::UniString>{original->GetSender()},
                             mail);
    host.Mails().SetMailReadMessage(*original);
    if (answer.answersRequest)
        host.Mails().SetMailHistoricalMessage(*original);
    if (isSent)
        (void)host.Mails().SynchronizeLogOut();
    host.KeepMails("That the mail was read could not be kept on this machine.");
}

void AddAnswer(CLI::App& mail, Context& context, const std::string& name,
               const std::string& description, const Answer& answer)
{
    const auto letter = std::make_shared<Letter>();
    auto* command = AddMailAction(
        mail, context, name, description,
        [letter, answer](ProjectHost& host, Context& c) { SendAnswer(host, c, *letter, answer); });
    command->add_option("-i,--id", letter->id, "Id of the mail")->required()->option_text("ID");
    AddTextOptions(*command, *letter,
                   answer.answersRequest ? "none is needed" : "standard input when it is missing");
}

void AddNew(CLI::App& mail, Context& context, const std::string& name,
            const std::string& description, MailType type)
{
    const auto letter = std::make_shared<Letter>();
    auto* command = AddMailAction(
        mail, context, name, description,
        [letter, type](ProjectHost& host, Context& c) { SendNew(host, c, *letter, type); });
    command->add_option("--to", letter->to, "Login name of a recipient; may be given again")
        ->required()
        ->option_text("NAME");
    AddTextOptions(*command, *letter, "standard input when it is missing");
}

}  // namespace

void AddMailSendCommands(CLI::App& mail, Context& context)
{
    AddNew(mail, context, "send", "Send a mail; offline it waits in the outbox", MailType::Normal);
    AddAnswer(mail, context, "reply", "Answer a mail to its sender",
              {MailType::Normal, false, false});
    AddNew(mail, context, "request", "Ask members for the ownership of what the text names",
           MailType::Request);
    AddAnswer(mail, context, "accept", "Grant a request", {MailType::RequestAccepted, true, false});
    AddAnswer(mail, context, "deny", "Refuse a request", {MailType::RequestDenied, true, false});
    AddAnswer(mail, context, "revoke", "Withdraw a request of one's own",
              {MailType::RequestRevoked, true, true});
}
