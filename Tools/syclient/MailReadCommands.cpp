#include "MailCommands.hpp"

#include "InterruptNote.hpp"
#include "MailPrinting.hpp"
#include "MailSubcommand.hpp"
#include "Messaging/MailListModel.hpp"
#include "Numbers.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>

namespace {

using SYC::MailSort;
using SYC::MailView;

struct ListArguments {
    bool withHistory = false;
    bool isWaiting = false;
    bool isSent = false;
    bool isHistory = false;
    bool isUnread = false;
    bool isReversed = false;
    std::string words;
    MailSort sort = MailSort::Time;
    std::size_t limit = 0;

    void AddOptions(CLI::App& command)
    {
        auto* all = command.add_flag("-a,--all", withHistory, "History too");
        auto* waiting = command.add_flag("--waiting", isWaiting, "Open requests to the user");
        auto* sent = command.add_flag("--sent", isSent, "What the user sent");
        auto* history = command.add_flag("--history", isHistory, "What he is done with");
        waiting->excludes(all)->excludes(sent)->excludes(history);
        sent->excludes(all)->excludes(history);
        history->excludes(all);
        command.add_flag("--unread", isUnread, "Of these, what was received and not read");
        command
            .add_option("--search", words,
                        "Of these, what has each of the words in the names of sender and "
                        "recipients or in the text")
            ->option_text("TEXT");
        command
            .add_option("--sort", sort,
                        "By time, the newest last, or by another field, with the most important "
                        "or the first in the alphabet first")
            ->transform(CLI::CheckedTransformer(
                std::map<std::string, MailSort>{{"time", MailSort::Time},
                                                {"sender", MailSort::Sender},
                                                {"importance", MailSort::Importance},
                                                {"subject", MailSort::Subject}},
                CLI::ignore_case))
            ->option_text("time|sender|importance|subject");
        command.add_flag("--reverse", isReversed, "The other way round");
        command.add_option("--limit", limit, "So many: the newest, or the first of another order")
            ->option_text("N")
            ->check(Numbers::UpTo(1'000'000'000));
    }

    [[nodiscard]] MailView View() const
    {
        return isWaiting   ? MailView::Waiting
               : isSent    ? MailView::Sent
               : isHistory ? MailView::History
                           : MailView::All;
    }
    /// History is shown to who asks for it; of what was sent, most is.
    [[nodiscard]] bool Shows(const SYC::ClientMail& mail) const
    {
        return (withHistory || View() != MailView::All || !mail.IsHistorical()) &&
               (!isUnread || (!mail.IsRead() && !mail.IsCopy()));
    }
};

void AwaitRows(const SYC::MailListModel& model)
{
    while (!ProjectHost::WaitUntil([&] { return !model.IsBusy(); }))
        continue;
}

void List(ProjectHost& host, Context& context, const ListArguments& arguments)
{
    (void)host.RefreshMails();
    SYC::MailListModel model(host.Mails(), host.Executor());
    model.SetView(arguments.View());
    model.SetSort(arguments.sort,
                  arguments.sort == MailSort::Time || arguments.sort == MailSort::Importance);
    model.SetSearch(OV::FromUtf8(arguments.words));
    AwaitRows(model);
    SYC::MailClient::MailList mails;
    const auto limit = arguments.limit == 0 ? model.GetRowCount() : arguments.limit;
    for (std::size_t row = 0; row < model.GetRowCount() && mails.size() < limit; ++row)
        if (arguments.Shows(*model.GetMail(row)))
            mails.push_back(model.GetMail(row));
    if ((arguments.sort == MailSort::Time) != arguments.isReversed)
        std::reverse(mails.begin(), mails.end());
    PrintMails(mails, "mails",
               arguments.withHistory || arguments.View() != MailView::All
                   ? "No such mails."
                   : "No such mails, history apart; --all shows that too.",
               context.output);
}

struct ThreadArguments {
    std::string id;

    void AddOptions(CLI::App& command) { AddMailIdOption(command, id, "Id of a mail"); }
};

void ShowThread(ProjectHost& host, Context& context, const ThreadArguments& arguments)
{
    (void)host.RefreshMails();
    const auto mail = FindMail(host, context, arguments.id);
    if (!mail)
        return;
    SYC::MailListModel model(host.Mails(), host.Executor());
    AwaitRows(model);
    PrintMails(model.GetThread(mail->GetId()), "thread", "", context.output);
}

/// An answer that was read leaves nothing to do about the request.
void CloseAnsweredRequest(ProjectHost& host, const SYC::ClientMail& answer)
{
    using SYC::MailType;
    const auto type = answer.GetType();
    OV::Ref<SYC::ClientMail> request;
    if ((type == MailType::RequestAccepted || type == MailType::RequestDenied ||
         type == MailType::RequestRevoked) &&
        host.Mails().GetMail(answer.GetParentMailId(), request))
        host.Mails().SetMailHistoricalMessage(*request);
}

struct ReadArguments {
    std::string id;
    bool keepUnread = false;

    void AddOptions(CLI::App& command)
    {
        AddMailIdOption(command, id, "Id of the mail");
        command.add_flag("--keep-unread", keepUnread, "Do not mark it");
    }
};

void Read(ProjectHost& host, Context& context, const ReadArguments& arguments)
{
    const bool isOnline = host.RefreshMails();
    const auto mail = FindMail(host, context, arguments.id);
    if (!mail)
        return;
    PrintMail(*mail, context.output);
    if (arguments.keepUnread || (mail->IsRead() && !mail->IsModify()))
        return;
    host.Mails().SetMailReadMessage(*mail);
    CloseAnsweredRequest(host, *mail);
    if (isOnline && !host.Mails().SynchronizeLogOut()) {
        context.exitCode = ExitCode::Offline;
        context.output.Error("The server could not be told that the mail was read; it will be with "
                             "the next mail that is read.");
    }
    host.KeepMails("That the mail was read could not be kept on this machine.");
}

/// Waits for one deletion.
class DeleteResult final : public SYC::MailClientActionResultObserverOverExecutor {
public:
    using MailClientActionResultObserverOverExecutor::MailClientActionResultObserverOverExecutor;
    ~DeleteResult() override { ToDestroy(); }
    std::optional<int> result;

private:
    void _SendMailCompletedFromExecutor(const SYC::ClientMail&, const NameList&, int) override {}
    void _DeleteMailCompletedFromExecutor(const OV::PagedArray<OV::UniString>&, int code) override
    {
        result = code;
    }
};

struct DeleteArguments {
    std::vector<std::string> ids;

    void AddOptions(CLI::App& command)
    {
        AddMailIdOption(command, ids, "Id of a mail; may be given again");
    }
};

void Delete(ProjectHost& host, Context& context, const DeleteArguments& arguments)
{
    if (!host.RefreshMails())
        return;
    OV::PagedArray<OV::UniString> chosen;
    for (const auto& id : arguments.ids) {
        const auto mail = FindMail(host, context, id);
        if (!mail)
            return;
        chosen.push_back(mail->GetId());
    }
    DeleteResult deletion(&host.Executor());
    host.Mails().DeleteMails(chosen, &deletion);
    (void)ProjectHost::WaitUntil([&] { return deletion.result || !host.Mails().IsChanging(); });
    const bool isDone = deletion.result == SYC::MailResult::Succeeded;
    if (!isDone)
        context.exitCode = ExitCode::Failure;
    if (context.output.json)
        context.output.PrintJson({{"deleted", isDone ? chosen.size() : 0}});
    else if (isDone)
        context.output.PrintLine("Deleted " + std::to_string(chosen.size()) + " mail(s).");
    else
        context.output.Error(deletion.result ? "Nothing was deleted."
                                             : "Whether they are deleted is not known; \"syclient "
                                               "mail list\" tells.");
    if (isDone)
        host.KeepMails("The file of mails still has what was deleted; it goes with the next list.");
}

/// As long as it takes: each mail has a time limit of its own.
void Flush(ProjectHost& host)
{
    const auto isOver = [&] { return !host.IsOnline() || !host.Mails().IsSending(); };
    host.Mails().FlushOutbox();
    while (!isOver())
        (void)ProjectHost::WaitUntil(isOver);
    if (!host.Mails().GetOutboxMails().empty())
        (void)host.RequireOnline();
}

struct OutboxArguments {
    std::vector<std::string> drop;
    bool flush = false;

    void AddOptions(CLI::App& command)
    {
        command.add_flag("--flush", flush, "Deliver them now");
        command.add_option("--drop", drop, "Take a mail out undelivered; may be given again")
            ->option_text("ID");
    }
};

void ShowOutbox(ProjectHost& host, Context& context, const OutboxArguments& arguments)
{
    host.OpenMails();
    OV::Array<OV::UniString> ids;
    for (const auto& id : arguments.drop) {
        const auto mail = FindMailAmong(host.Mails().GetOutboxMails(), context, id);
        if (!mail)
            return;
        ids.push_back(mail->GetId());
    }
    if (!ids.empty())
        host.Mails().DeleteOutboxMails(ids);
    if (arguments.flush && host.GoOnline())
        Flush(host);
    const auto waiting = host.Mails().GetOutboxMails();
    // Why a mail waits is known once it was tried.
    const auto reasonOf = [&](const SYC::ClientMail& mail) {
        return SYC::ToText(host.Mails().GetOutboxStatus(mail));
    };
    PrintMails(waiting, "outbox", "The outbox is empty.", context.output,
               [&](const SYC::ClientMail& mail) {
                   auto json = MailJson(mail);
                   if (arguments.flush)
                       json["reason"] = ForJson(reasonOf(mail));
                   return json;
               });
    if (arguments.flush && !context.output.json)
        for (const auto& mail : waiting)
            context.output.PrintLine(ForDisplay(mail->GetId()) + ": " +
                                     ForDisplay(reasonOf(*mail)));
    const auto unknown = std::count_if(waiting.begin(), waiting.end(),
                                       [](const auto& mail) { return mail->HasUnknownActions(); });
    if (unknown > 0)
        context.output.Error("Mails with unknown actions are delivered by the program that wrote "
                             "them, when it has the project open.");
    const auto left = static_cast<std::ptrdiff_t>(waiting.size()) - unknown;
    if (arguments.flush && host.Mails().HasUnwrittenOutbox() &&
        context.exitCode == ExitCode::Success)
        context.exitCode = ExitCode::Failure;  // the log has said why
    if (arguments.flush && left > 0 && context.exitCode == ExitCode::Success) {
        context.exitCode = ExitCode::Failure;
        context.output.Error(std::to_string(left) + " mail(s) of " +
                             DescribeLogin(host.Connection()) +
                             " could not be delivered and wait.");
    }
}

/// Prints each mail that comes.
class Watcher final : public SYC::MailClientObserverOverExecutor {
public:
    Watcher(OV::Executor* executor, const Output& output)
        : MailClientObserverOverExecutor(executor), output_(output)
    {}
    ~Watcher() override { ToDestroy(); }
    std::size_t seen = 0;

private:
    void _MailListChanged(SYC::MailClient&) override {}
    void _NewMailExists(SYC::MailClient&, OV::Ref<MailList> newMails,
                        SYC::RefreshMailListReason::Value) override
    {
        for (const auto& mail : *newMails) {
            if (mail->IsCopy())
                continue;
            ++seen;
            if (output_.json)
                output_.PrintJsonLine(MailJson(*mail));
            else
                output_.PrintLine(MailLine(*mail));
        }
    }

    const Output& output_;
};

struct WatchArguments {
    std::size_t count = 0;
    double seconds = 0;

    void AddOptions(CLI::App& command)
    {
        command.add_option("--count", count, "End after so many mails")
            ->option_text("N")
            ->check(Numbers::UpTo(1'000'000'000));
        command
            .add_option("--seconds", seconds,
                        "End after this time; exit code 3 when --count was not reached")
            ->option_text("S")
            ->check(Numbers::Seconds());
    }
};

/// Tells when the server goes and when it is back. False when it refuses the user, for whom no mail
/// comes any more.
bool TellLoss(ProjectHost& host, Context& context, bool& isOnline)
{
    if (host.IsOnline() == std::exchange(isOnline, host.IsOnline()))
        return true;
    if (isOnline) {
        context.output.Notice("The server is back; waiting for mail.");
        return true;
    }
    const auto loss = host.AskWhyOffline();
    if (loss.exitCode == ExitCode::AccessDenied) {
        context.exitCode = loss.exitCode;
        context.output.Error("The server refuses " + DescribeLogin(host.Connection()) +
                             " now: " + loss.reason);
        return false;
    }
    context.output.Notice("The server cannot be reached; mail comes when it is back.");
    return true;
}

void Watch(ProjectHost& host, Context& context, const WatchArguments& arguments)
{
    const std::size_t count = arguments.count;
    const double seconds = arguments.seconds;
    if (!host.RefreshMails() || !host.GoOnline())
        return;
    const InterruptNote note;
    Watcher watcher(&host.Executor(), context.output);
    host.Mails().Attach(watcher);
    context.output.Progress("Waiting for mail; Ctrl-C ends it.");
    const auto isEnough = [&] {
        return InterruptNote::WasInterrupted() || (count != 0 && watcher.seen >= count);
    };
    constexpr std::uint32_t step = 100;
    const auto steps = seconds * 1000 / step;
    bool isOnline = true;
    for (double waited = 0; !isEnough() && (seconds == 0 || waited < steps); ++waited) {
        (void)ProjectHost::WaitUntil(isEnough, step);
        if (!TellLoss(host, context, isOnline))
            break;
    }
    host.Mails().Detach(watcher);
    if (context.exitCode == ExitCode::Success && count != 0 && watcher.seen < count)
        context.exitCode = ExitCode::NotFound;
}

}  // namespace

void AddMailReadCommands(CLI::App& mail, Context& context)
{
    AddMailSubcommand(mail, context, "list", "The mails received and sent, fetched anew", &List);
    AddMailSubcommand(mail, context, "thread", "A mail, what it answers and its answers",
                      &ShowThread);
    AddMailSubcommand(mail, context, "read", "Show one mail and mark it read", &Read);
    AddMailSubcommand(mail, context, "delete", "Delete mails, for this user alone", &Delete);
    AddMailSubcommand(mail, context, "outbox", "The mails that wait for delivery", &ShowOutbox);
    AddMailSubcommand(mail, context, "watch", "Print new mails as the server signals them", &Watch);
}
