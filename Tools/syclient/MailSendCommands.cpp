#include "MailCommands.hpp"

#include "MailSubcommand.hpp"
#include "Messaging/MailAnswer.hpp"
#include "Question.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>

namespace {

using SYC::ClientMail;
using SYC::Importance;
using SYC::MailType;

/// What is written, whomever it goes to.
struct Letter {
    std::optional<std::string> text;
    Importance importance = Importance::Low;

    /// The text, or standard input when none was given.
    [[nodiscard]] OV::UniString Text() const
    {
        if (text)
            return OV::FromUtf8(*text);
        if (Question::CanAsk())
            Question::Show("Type the text; Ctrl-D on a line of its own ends it.");
        return OV::FromUtf8(std::string(std::istreambuf_iterator<char>(std::cin), {}));
    }

    void AddOptions(CLI::App& command, const std::string& whenMissing)
    {
        command.add_option("-t,--text", text, "The text; " + whenMissing)->option_text("TEXT");
        command.add_option("--importance", importance, "How important it is")
            ->transform(CLI::CheckedTransformer(
                std::map<std::string, Importance>{{"low", Importance::Low},
                                                  {"medium", Importance::Medium},
                                                  {"high", Importance::High}},
                CLI::ignore_case))
            ->option_text("low|medium|high");
    }
};

struct NewArguments {
    MailType type = MailType::Normal;
    std::vector<std::string> to{};
    Letter letter{};

    void AddOptions(CLI::App& command)
    {
        command.add_option("--to", to, "Login name of a recipient; may be given again")
            ->required()
            ->option_text("NAME");
        letter.AddOptions(command, "standard input when it is missing");
    }
};

struct AnswerArguments {
    SYC::MailAnswer kind = SYC::MailAnswer::Reply;
    std::string id{};
    Letter letter{};

    [[nodiscard]] bool AnswersRequest() const { return kind != SYC::MailAnswer::Reply; }

    void AddOptions(CLI::App& command)
    {
        AddMailIdOption(command, id, "Id of the mail");
        letter.AddOptions(command, AnswersRequest() ? "none is needed"
                                                    : "standard input when it is missing");
    }
};

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
    if (!isSent && context.exitCode == ExitCode::Success)
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

/// `post` puts the mail into the outbox.
bool Send(ProjectHost& host, Context& context, const OV::Array<OV::UniString>& logins,
          const std::function<ClientMail(SendResult&)>& post)
{
    const bool isOnline = host.GoOnline() && host.RefreshMembers();
    if (!AreMembers(host, context, logins))
        return false;
    SendResult sending(&host.Executor());
    const ClientMail mail = post(sending);
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

void SendNew(ProjectHost& host, Context& context, const NewArguments& arguments)
{
    OV::Array<OV::UniString> logins;
    for (const auto& name : arguments.to)
        logins.push_back(OV::FromUtf8(name));
    ClientMail mail;
    mail.SetType(arguments.type);
    mail.SetImportance(arguments.letter.importance);
    mail.SetBodyText(arguments.letter.Text());
    host.OpenMails();
    Send(host, context, logins, [&](SendResult& sending) {
        host.Mails().SendMail(logins, mail, &sending);
        return mail;
    });
}

/// Whether somebody accepted or refused that request, as far as the server told.
bool HasDecision(ProjectHost& host, const OV::UniString& request)
{
    const auto& mails = host.Mails().GetMails();
    return std::any_of(mails.begin(), mails.end(), [&](const auto& mail) {
        return mail->GetParentMailId() == request && !mail->IsCopy() &&
               (mail->GetType() == SYC::MailType::RequestAccepted ||
                mail->GetType() == SYC::MailType::RequestDenied);
    });
}

bool Fits(ProjectHost& host, const ClientMail& mail, SYC::MailAnswer answer, Context& context)
{
    // The copy stays an open request until the user reads the answer to it.
    const bool isAnswered = answer == SYC::MailAnswer::Revoke && HasDecision(host, mail.GetId());
    if (SYC::MailClient::MayAnswer(mail, answer) && !isAnswered)
        return true;
    context.exitCode = ExitCode::Usage;
    context.output.Error(isAnswered ? "The request was answered already."
                         : answer == SYC::MailAnswer::Revoke
                             ? "The mail is no open request of yours."
                             : "The mail is no open request to you; it may have been answered.");
    return false;
}

void SendAnswer(ProjectHost& host, Context& context, const AnswerArguments& answer)
{
    (void)host.RefreshMails();
    const auto original = FindMail(host, context, answer.id);
    if (!original || !Fits(host, *original, answer.kind, context))
        return;
    SYC::MailContent content;
    content.importance = answer.letter.importance;
    // An answer to a request says all by its kind; a reply without words says nothing.
    if (answer.letter.text || !answer.AnswersRequest())
        content.text = answer.letter.Text();
    const bool isSent = Send(
        host, context, SYC::MailClient::GetAnswerRecipients(*original), [&](SendResult& sending) {
            return host.Mails().Answer(*original, answer.kind, content, &sending);
        });
    if (isSent)
        (void)host.Mails().SynchronizeLogOut();
    host.KeepMails("That the mail was read could not be kept on this machine.");
}

}  // namespace

void AddMailSendCommands(CLI::App& mail, Context& context)
{
    AddMailSubcommand(mail, context, "send", "Send a mail; offline it waits in the outbox",
                      &SendNew);
    AddMailSubcommand(mail, context, "reply", "Answer a mail to its sender", &SendAnswer);
    AddMailSubcommand(mail, context, "request",
                      "Ask members for the ownership of what the text names", &SendNew,
                      {.type = MailType::Request});
    AddMailSubcommand(mail, context, "accept", "Grant a request", &SendAnswer,
                      {.kind = SYC::MailAnswer::Accept});
    AddMailSubcommand(mail, context, "deny", "Refuse a request", &SendAnswer,
                      {.kind = SYC::MailAnswer::Deny});
    AddMailSubcommand(mail, context, "revoke", "Withdraw a request of one's own", &SendAnswer,
                      {.kind = SYC::MailAnswer::Revoke});
}
