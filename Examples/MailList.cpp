// The rows of a list of mails, as a window would show them, and recipients as they are typed. With
// Qt the observer is a QAbstractTableModel: RowsToBeInserted is beginInsertRows, RowsInserted
// endInsertRows, and so on.
#include "CachedProjectInfo.hpp"
#include "Example.hpp"
#include "Messaging/MailClient.hpp"
#include "Messaging/MailListModel.hpp"
#include "Messaging/MemberCompletion.hpp"

namespace {

class View : public SYC::MailListModelObserver {
public:
    explicit View(SYC::MailListModel& model) : subscription_(model.Subscribe(*this)) {}

    void Print(const SYC::MailListModel& model) const
    {
        const auto counts = model.GetCounts(model.GetView());
        std::cout << counts.total << " mails, " << counts.unread << " unread\n";
        for (std::size_t row = 0; row < model.GetRowCount(); ++row) {
            const auto& mail = *model.GetMail(row);
            std::cout << (mail.IsRead() ? "  " : "* ") << OV::ToUtf8(model.GetSender(mail).name)
                      << ": " << OV::ToUtf8(OV::UniString(mail.GetSubject())) << '\n';
        }
    }

private:
    void RowsInserted(SYC::MailListModel&, std::size_t first, std::size_t count) override
    {
        std::cout << count << " rows came at " << first << '\n';
    }

    OV::Subscription subscription_;
};

}  // namespace

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 2, "PROJECT-URL LETTERS", [](char** arguments) {
        SYCB::MessageLoopExecutor mainThread;
        Example::OpenedProject project(arguments[1]);
        project.manager.StartSignals(project.projectId);
        auto& signals = project.manager.GetSignalClient();
        SYC::ProjectMembers members(signals, project.manager, mainThread);
        members.Init();
        SYC::MailClient mails(signals, project.manager, members,
                              project.manager.FindCache()->GetCacheFolderLocation(), mainThread);
        {
            SYC::MailListModel model(mails, mainThread);
            model.SetView(SYC::MailView::All);
            model.SetSort(SYC::MailSort::Time, true);
            const View view(model);
            const SYC::MemberCompletion completion(members);
            Example::RunUntil(
                [&] { return members.IsKnown() && !mails.IsRefreshing() && !model.IsBusy(); },
                "members and mails do not come");
            view.Print(model);
            for (const auto id : completion.Complete(OV::FromUtf8(arguments[2])))
                std::cout << "to " << OV::ToUtf8(members.GetUserDataTable().at(id).GetFullName())
                          << '\n';
        }
        (void)mails.SynchronizeLogOut();
        project.manager.StopSignals();
        return 0;
    });
}
