#pragma once

#include "Messaging/MailClient.hpp"
#include "Messaging/MailListModelObserver.hpp"
#include "Messaging/MailView.hpp"
#include "OVRoot/Export.hpp"

#include <memory>
#include <optional>

namespace SYC {

/// How a list shows the sender of a mail.
struct MailSender {
    /// As the members tell it now, or as the mail does.
    OV::UniString name;
    /// 0xRRGGBB; black for who is no member.
    std::uint32_t color = 0;
    /// May be empty.
    NewDisplay::NativeImage photo;
    bool isMember = false;  ///< of the project, as it is known now
};

/// The rows of a list of mails for a window that shows them: one view of the mail client's box or
/// its outbox, sorted, and searched while words are typed. It has no window itself.
///
/// Made, used and destroyed on the mail client's own thread; observers are told there. A hundred
/// thousand mails are taken over in pieces, and sorted and searched on a worker thread, so that no
/// call takes longer than some milliseconds: IsBusy then tells that the rows are still the former
/// ones. Whatever the client tells meanwhile shows at once, a mail that came in its place among the
/// others. Not to be destroyed by an observer that it is telling something.
class SYC_API MailListModel final : public OverExecutor,
                                    private MailClientObserver,
                                    private OutboxObserver,
                                    private ProjectMembersObserver {
public:
    /// Mails in shared ownership.
    using MailList = MailFile::MailList;

    /// The newest mails of the inbox first. `client` outlives the model, and `executor`, which runs
    /// on this thread, outlives both.
    MailListModel(MailClient& client, OV::Executor& executor);
    ~MailListModel();

    /// Shows at once, whatever is sorted or searched meanwhile.
    void SetView(MailView view);
    /// As it was set last.
    [[nodiscard]] MailView GetView() const noexcept;
    /// Begins to sort.
    void SetSort(MailSort sort, bool isDescending);
    /// As it was set last; what is shown while IsBusy is sorted otherwise.
    /// @{
    [[nodiscard]] MailSort GetSort() const noexcept;
    [[nodiscard]] bool IsDescending() const noexcept;
    /// @}
    /// Begins to search for the mails that have each of the words, in upper or lower case, anywhere
    /// in the names of sender and recipients or in the text. A search under way ends. Without a
    /// word all mails are there again at once.
    void SetSearch(const OV::UniString& words);
    /// Whether the rows are not yet those that were asked for.
    [[nodiscard]] bool IsBusy() const noexcept;

    /// Of the view, those that the search leaves.
    [[nodiscard]] std::size_t GetRowCount() const noexcept;
    /// In constant time. `row` is below the count.
    [[nodiscard]] const OV::Ref<ClientMail>& GetMail(std::size_t row) const;
    /// Where the mail with that id shows; nothing when it does not.
    [[nodiscard]] std::optional<std::size_t> FindRow(const OV::UniString& id) const;
    /// Of a view, whatever is searched.
    [[nodiscard]] MailCounts GetCounts(MailView view) const noexcept;

    /// How the list shows the sender of that mail.
    [[nodiscard]] MailSender GetSender(const ClientMail& mail) const;
    /// Of a mail of the outbox view; a change of it is told as one of its row.
    [[nodiscard]] OutboxStatus GetOutboxStatus(std::size_t row) const
    {
        return client_.GetOutboxStatus(*GetMail(row));
    }
    /// The mails from the first that this one answers, directly or not, to the last answers to any
    /// of them, in the order of their times; those of the outbox as well. Empty for an unknown id.
    [[nodiscard]] MailList GetThread(const OV::UniString& id) const;

    /// The one that was given.
    [[nodiscard]] MailClient& GetClient() const noexcept { return client_; }

    /// As MailClient::Attach and its like.
    void Attach(MailListModelObserver& observer) { observers_.Attach(observer); }
    /// As MailClient::Detach and Subscribe.
    /// @{
    void Detach(MailListModelObserver& observer) { observers_.Detach(observer); }
    [[nodiscard]] OV::Subscription Subscribe(MailListModelObserver& observer)
    {
        return observers_.Subscribe(observer);
    }
    /// @}

private:
    struct State;
    /// Sorts, searches, or both, on the worker.
    struct Job;
    using Slot = std::uint32_t;

    void MailListChanged(MailClient&) override {}
    void NewMailExists(MailClient&, OV::Ref<OV::Array<OV::Ref<ClientMail>>>,
                       RefreshMailListReason::Value) override
    {}
    void MailsChanged(MailClient& client, const MailChanges& changes) override;
    void OutboxChanged() override;
    void OutboxStatusChanged() override;
    void _ProjectMembersChanged(ProjectMembers& members) override;

    // Changes one by one.
    void TellAllChanged();
    void Take(const MailChanges& changes, bool isOut);
    void Add(const OV::Ref<ClientMail>& mail, bool isOut);
    void Update(const OV::Ref<ClientMail>& mail);
    void Remove(const OV::Ref<ClientMail>& mail);
    void ShowRow(Slot slot);
    void HideRow(Slot slot);
    // All at once.
    void TakeMany(const MailChanges& changes, bool isOut);
    void Gather();
    template <class Change>
    void Reset(Change change);
    // Sorting and searching.
    void StartJob();
    void TakeResult(const std::shared_ptr<Job>& job);
    void NoteBusy();

    template <class Tell>
    void TellRows(Tell tell, std::size_t position);

    MailClient& client_;
    const std::unique_ptr<State> state_;
    OV::EventSource<MailListModelObserver> observers_;
    OV::PooledExecutor worker_;
    OV::Subscription ofMails_, ofOutbox_, ofMembers_;
};

}  // namespace SYC
