#include "Messaging/MailListModel.hpp"

#include "Messaging/Detail/MailOrder.hpp"
#include "Messaging/Detail/MailRequest.hpp"
#include "Messaging/Detail/WordSearch.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <chrono>
#include <deque>

namespace SYC {

namespace {

using Clock = std::chrono::steady_clock;

/// More changes than these at once are one change of the whole list.
constexpr std::size_t FewChanges = 200;

using Slots = std::vector<MailIndex::Slot>;

Slots::iterator PlaceIn(Slots& slots, const MailIndex& index, const MailOrder& order,
                        MailIndex::Slot slot)
{
    return std::lower_bound(slots.begin(), slots.end(), order.PlaceOf(*index[slot], slot),
                            [&](MailIndex::Slot other, const MailOrder::Place& place) {
                                return order.PlaceOf(*index[other], other) < place;
                            });
}

}  // namespace

struct MailListModel::State {
    struct Arrival {
        OV::Ref<ClientMail> mail;
        bool isOut;
    };

    MailIndex index;
    MailList outbox;
    MailView view = MailView::Inbox;
    std::shared_ptr<const MemberNames> names = std::make_shared<const MemberNames>();

    MailOrder order;    ///< of `sorted`
    WordSearch search;  ///< that the index has marked
    Slots sorted;       ///< all mails but those that wait to be sorted
    Slots rows;         ///< those of them that show, in the same order

    MailSort wantedSort = MailSort::Time;
    bool isWantedDescending = true;
    WordSearch wantedSearch;
    bool isUnsorted = false;
    std::deque<Arrival> arrivals;  ///< not in the index yet
    std::shared_ptr<Job> job;
    bool wasBusy = false;

    [[nodiscard]] std::size_t RowAt(std::size_t position, std::size_t count) const noexcept
    {
        return order.isDescending ? count - 1 - position : position;
    }
    [[nodiscard]] MailOrder WantedOrder() const
    {
        return {wantedSort, isWantedDescending, wantedSort == MailSort::Sender ? names : nullptr};
    }
    Slot AddToIndex(const OV::Ref<ClientMail>& mail, bool isOut)
    {
        const Slot slot = index.Add(mail, isOut);
        index.SetMatching(slot, search.IsEmpty() || search.Matches(*mail));
        return slot;
    }
    void FilterRows()
    {
        rows.clear();
        for (const Slot slot : sorted)
            if (index.IsShown(slot, view))
                rows.push_back(slot);
    }
    void DropGone()
    {
        std::erase_if(sorted, [this](Slot slot) { return index.HasGone(slot); });
    }
    /// The number of the row's place in `rows`; nothing when it does not show.
    [[nodiscard]] std::optional<std::size_t> FindPosition(Slot slot)
    {
        const auto place = PlaceIn(rows, index, order, slot);
        if (place == rows.end() || *place != slot)
            return std::nullopt;
        return place - rows.begin();
    }
};

struct MailListModel::Job {
    // What is asked. The snapshot and the texts in it do not change.
    MailIndex::Mails mails;
    std::optional<MailOrder> order;
    std::optional<WordSearch> search;
    std::vector<bool> candidates;  ///< all when it is empty
    std::atomic<bool> isDropped = false;
    // What comes of it.
    Slots sorted;
    std::vector<bool> matches;
    bool hasFailed = false;

    void Run() noexcept
    {
        try {
            if (order)
                sorted = order->Sort(mails, isDropped);
            if (search)
                Search();
        } catch (...) {
            OV::LogCurrentException(OV::Logger::Library, u"% cannot be sorted or searched: %",
                                    u"The list of mails");
            hasFailed = true;
        }
    }
    void Search()
    {
        matches.resize(mails.size());
        std::size_t slot = 0;
        for (const auto& mail : std::as_const(mails)) {
            if (isDropped)
                return;
            matches[slot] =
                mail && (candidates.empty() || candidates[slot]) && search->Matches(*mail);
            ++slot;
        }
    }
};

MailListModel::MailListModel(MailClient& client, OV::Executor& executor)
    : OverExecutor(&executor), client_(client), state_(std::make_unique<State>()),
      worker_(1, 1, MailWorkerMilliseconds)
{
    ofMails_ = client_.Subscribe(*this);
    ofOutbox_ = client_.SubscribeOutbox(*this);
    ofMembers_ = client_.GetProjectMembers().Subscribe(*this);
    _ProjectMembersChanged(client_.GetProjectMembers());
    for (const auto& mail : client_.GetMails())
        state_->arrivals.push_back({mail, false});
    OutboxChanged();
    Gather();
}

MailListModel::~MailListModel()
{
    ToDestroy();
    ofMails_.Reset();
    ofOutbox_.Reset();
    ofMembers_.Reset();
    if (state_->job)
        state_->job->isDropped = true;
    worker_.Cancel();
    worker_.AwaitTermination();
}

// What is shown

void MailListModel::SetView(MailView view)
{
    if (view != state_->view)
        Reset([&] { state_->view = view; });
}

MailView MailListModel::GetView() const noexcept
{
    return state_->view;
}

void MailListModel::SetSort(MailSort sort, bool isDescending)
{
    if (sort == state_->wantedSort && isDescending == state_->isWantedDescending)
        return;
    state_->wantedSort = sort;
    state_->isWantedDescending = isDescending;
    StartJob();
}

MailSort MailListModel::GetSort() const noexcept
{
    return state_->wantedSort;
}

bool MailListModel::IsDescending() const noexcept
{
    return state_->isWantedDescending;
}

void MailListModel::SetSearch(const OV::UniString& words)
{
    WordSearch search(words);
    if (search == state_->wantedSearch)
        return;
    state_->wantedSearch = std::move(search);
    if (state_->wantedSearch.IsEmpty() && !state_->search.IsEmpty())
        Reset([this] {
            state_->search = {};
            for (Slot slot = 0; slot < state_->index.Size(); ++slot)
                state_->index.SetMatching(slot, true);
        });
    StartJob();
}

bool MailListModel::IsBusy() const noexcept
{
    return state_->job || !state_->arrivals.empty();
}

std::size_t MailListModel::GetRowCount() const noexcept
{
    return state_->rows.size();
}

const OV::Ref<ClientMail>& MailListModel::GetMail(std::size_t row) const
{
    const auto& rows = state_->rows;
    return state_->index[rows[state_->RowAt(row, rows.size())]];
}

std::optional<std::size_t> MailListModel::FindRow(const OV::UniString& id) const
{
    const auto rowOf = [this](const ClientMail& mail) -> std::optional<std::size_t> {
        const auto slot = state_->index.Find(mail);
        const auto position = slot ? state_->FindPosition(*slot) : std::nullopt;
        if (!position)
            return std::nullopt;
        return state_->RowAt(*position, state_->rows.size());
    };
    OV::Ref<ClientMail> mail;
    if (client_.GetMail(id, mail))
        if (const auto row = rowOf(*mail))
            return row;
    for (const auto& waiting : state_->outbox)
        if (waiting->GetId() == id)
            return rowOf(*waiting);
    return std::nullopt;
}

MailCounts MailListModel::GetCounts(MailView view) const noexcept
{
    return state_->index.GetCounts()[static_cast<std::size_t>(view)];
}

MailSender MailListModel::GetSender(const ClientMail& mail) const
{
    const auto& members = client_.GetProjectMembers();
    MailSender sender{SenderNameOf(mail, *state_->names), 0, {}, false};
    ProjectMembers::MemberId id = 0;
    if (members.GetUserIdFromLoginName(mail.GetSender(), id)) {
        const auto& data = members.GetUserDataTable().at(id);
        sender.color = data.GetUserColor();
        sender.photo = data.GetImage();
        sender.isMember = true;
    }
    return sender;
}

MailListModel::MailList MailListModel::GetThread(const OV::UniString& id) const
{
    const auto find = [this](const OV::UniString& wanted) {
        OV::Ref<ClientMail> mail;
        if (!client_.GetMail(wanted, mail))
            for (const auto& waiting : state_->outbox)
                if (waiting->GetId() == wanted)
                    mail = waiting;
        return mail;
    };
    if (!find(id))
        return {};
    // Up to the first one, which may have been deleted; ids from a server may go in circles.
    OV::UniString first = id;
    OV::HashSet<OV::UniString> seen{id};
    for (auto mail = find(first); mail && !mail->GetParentMailId().empty(); mail = find(first)) {
        if (!seen.insert(mail->GetParentMailId()).second)
            break;
        first = mail->GetParentMailId();
    }
    std::vector<Slot> thread;
    OV::HashSet<Slot> taken;
    const auto take = [&](Slot slot) {
        if (taken.insert(slot).second)
            thread.push_back(slot);
    };
    if (const auto mail = find(first))
        if (const auto slot = state_->index.Find(*mail))
            take(*slot);
    state_->index.ForAnswers(first, take);
    for (std::size_t at = 0; at < thread.size(); ++at)
        state_->index.ForAnswers(state_->index[thread[at]]->GetId(), take);
    std::sort(thread.begin(), thread.end(), [this](Slot left, Slot right) {
        const auto place = [this](Slot slot) {
            return std::pair(state_->index[slot]->GetTime(), slot);
        };
        return place(left) < place(right);
    });
    MailList mails;
    for (const Slot slot : thread)
        mails.push_back(state_->index[slot]);
    return mails;
}

// What the client tells

void MailListModel::MailsChanged(MailClient&, const MailChanges& changes)
{
    Take(changes, false);
}

void MailListModel::OutboxChanged()
{
    auto waiting = client_.GetOutboxMails();
    MailChanges changes;
    const auto isIn = [](const MailList& mails) {
        OV::HashSet<const ClientMail*> known;
        for (const auto& mail : mails)
            known.insert(mail.Get());
        return [known = std::move(known)](const auto& mail) { return known.contains(mail.Get()); };
    };
    std::copy_if(waiting.begin(), waiting.end(), std::back_inserter(changes.added),
                 std::not_fn(isIn(state_->outbox)));
    std::copy_if(state_->outbox.begin(), state_->outbox.end(), std::back_inserter(changes.removed),
                 std::not_fn(isIn(waiting)));
    state_->outbox = std::move(waiting);
    Take(changes, true);
}

void MailListModel::_ProjectMembersChanged(ProjectMembers& members)
{
    MemberNames names;
    for (const auto& [id, user] : members.GetUserDataTable())
        names.emplace(user.GetLoginName(), user.GetFullName());
    if (names != *state_->names) {
        state_->names = std::make_shared<const MemberNames>(std::move(names));
        if (state_->wantedSort == MailSort::Sender)
            StartJob();
    }
    TellAllChanged();  // their photos and colours may be others as well
}

void MailListModel::OutboxStatusChanged()
{
    if (state_->view == MailView::Outbox)
        TellAllChanged();
}

void MailListModel::TellAllChanged()
{
    if (const auto count = GetRowCount(); count != 0)
        observers_.Notify(
            [&](MailListModelObserver& observer) { observer.RowsChanged(*this, 0, count); });
}

void MailListModel::Take(const MailChanges& changes, bool isOut)
{
    const auto before = state_->index.GetCounts();
    if (changes.Count() > FewChanges)
        TakeMany(changes, isOut);
    else {
        for (const auto& mail : changes.added)
            Add(mail, isOut);
        for (const auto& mail : changes.marked)
            Update(mail);
        for (const auto& mail : changes.removed)
            Remove(mail);
    }
    if (state_->index.GetCounts() != before)
        observers_.Notify(
            [this](MailListModelObserver& observer) { observer.CountsChanged(*this); });
    NoteBusy();
}

// One by one

void MailListModel::Add(const OV::Ref<ClientMail>& mail, bool isOut)
{
    if (state_->index.Find(*mail))
        return;
    if (!state_->arrivals.empty()) {
        state_->arrivals.push_back({mail, isOut});
        return;
    }
    const Slot slot = state_->AddToIndex(mail, isOut);
    auto& sorted = state_->sorted;
    sorted.insert(PlaceIn(sorted, state_->index, state_->order, slot), slot);
    if (state_->index.IsShown(slot, state_->view))
        ShowRow(slot);
}

void MailListModel::Update(const OV::Ref<ClientMail>& mail)
{
    const auto slot = state_->index.Find(*mail);
    if (!slot)
        return;
    state_->index.Update(*slot);
    const auto position = state_->FindPosition(*slot);
    const bool isShown = state_->index.IsShown(*slot, state_->view);
    if (position && isShown)
        TellRows(&MailListModelObserver::RowsChanged,
                 state_->RowAt(*position, state_->rows.size()));
    else if (position)
        HideRow(*slot);
    else if (isShown)
        ShowRow(*slot);
}

void MailListModel::Remove(const OV::Ref<ClientMail>& mail)
{
    const auto slot = state_->index.Find(*mail);
    if (!slot) {
        std::erase_if(state_->arrivals, [&](const auto& arrival) { return arrival.mail == mail; });
        return;
    }
    HideRow(*slot);
    auto& sorted = state_->sorted;
    const auto place = PlaceIn(sorted, state_->index, state_->order, *slot);
    if (place != sorted.end() && *place == *slot)
        sorted.erase(place);
    state_->index.Remove(*slot);
}

template <class Tell>
void MailListModel::TellRows(Tell tell, std::size_t row)
{
    observers_.Notify(
        [&](MailListModelObserver& observer) { (observer.*tell)(*this, row, std::size_t{1}); });
}

void MailListModel::ShowRow(Slot slot)
{
    auto& rows = state_->rows;
    const auto position = PlaceIn(rows, state_->index, state_->order, slot) - rows.begin();
    const auto row = state_->RowAt(static_cast<std::size_t>(position), rows.size() + 1);
    TellRows(&MailListModelObserver::RowsToBeInserted, row);
    rows.insert(rows.begin() + position, slot);
    TellRows(&MailListModelObserver::RowsInserted, row);
}

void MailListModel::HideRow(Slot slot)
{
    const auto position = state_->FindPosition(slot);
    if (!position)
        return;
    auto& rows = state_->rows;
    const auto row = state_->RowAt(*position, rows.size());
    TellRows(&MailListModelObserver::RowsToBeRemoved, row);
    rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(*position));
    TellRows(&MailListModelObserver::RowsRemoved, row);
}

// All at once

template <class Change>
void MailListModel::Reset(Change change)
{
    observers_.Notify([this](MailListModelObserver& observer) { observer.ListToBeReset(*this); });
    change();
    state_->FilterRows();
    observers_.Notify([this](MailListModelObserver& observer) { observer.ListReset(*this); });
}

void MailListModel::TakeMany(const MailChanges& changes, bool isOut)
{
    const bool isGathering = !state_->arrivals.empty();
    for (const auto& mail : changes.added)
        state_->arrivals.push_back({mail, isOut});
    if (!changes.marked.empty() || !changes.removed.empty())
        Reset([&] {
            OV::HashSet<const ClientMail*> unknown;
            for (const auto& mail : changes.marked)
                if (const auto slot = state_->index.Find(*mail))
                    state_->index.Update(*slot);
            for (const auto& mail : changes.removed)
                if (const auto slot = state_->index.Find(*mail))
                    state_->index.Remove(*slot);
                else
                    unknown.insert(mail.Get());
            std::erase_if(state_->arrivals, [&](const auto& arrival) {
                return unknown.contains(arrival.mail.Get());
            });
            state_->DropGone();
        });
    if (!isGathering)
        Gather();
}

/// Takes arrivals into the index for a moment, and has them sorted when none is left.
void MailListModel::Gather()
{
    const auto before = state_->index.GetCounts();
    auto& arrivals = state_->arrivals;
    const auto end = Clock::now() + HostSlice;
    for (std::size_t count = 1; !arrivals.empty(); ++count) {
        const auto arrival = std::move(arrivals.front());
        arrivals.pop_front();
        if (!state_->index.Find(*arrival.mail))
            (void)state_->AddToIndex(arrival.mail, arrival.isOut);
        state_->isUnsorted = true;
        if (count % 64 == 0 && Clock::now() >= end)
            break;
    }
    if (!arrivals.empty())
        (void)GetTarget().Post([this] { Gather(); });
    else
        StartJob();
    if (state_->index.GetCounts() != before)
        observers_.Notify(
            [this](MailListModelObserver& observer) { observer.CountsChanged(*this); });
}

// Sorting and searching

/// Has done what the wanted order and search differ in from the present ones. What is under way is
/// dropped.
void MailListModel::StartJob()
{
    if (state_->job)
        state_->job->isDropped = true;
    state_->job.reset();
    const auto job = std::make_shared<Job>();
    const auto order = state_->WantedOrder();
    if (state_->isUnsorted || order != state_->order)
        job->order = order;
    if (state_->wantedSearch != state_->search)
        job->search = state_->wantedSearch;
    if ((job->order || job->search) && state_->arrivals.empty()) {
        job->mails = state_->index.GetMails();
        if (job->search && !state_->search.IsEmpty() && job->search->Narrows(state_->search))
            for (Slot slot = 0; slot < state_->index.Size(); ++slot)
                job->candidates.push_back(state_->index.IsMatching(slot));
        state_->job = job;
        const bool isTaken = worker_.Execute(OV::MakeTask([this, job, target = GetTarget()] {
            job->Run();
            (void)target.Post([this, job] { TakeResult(job); });
        }));
        if (!isTaken) {
            // The system gives no thread: later than wished is better than never.
            job->Run();
            TakeResult(job);
        }
    }
    NoteBusy();
}

void MailListModel::TakeResult(const std::shared_ptr<Job>& job)
{
    if (job != state_->job)
        return;
    state_->job.reset();
    auto& index = state_->index;
    const Slot known = static_cast<Slot>(job->mails.size());
    if (job->order && index.Size() - known > FewChanges)
        return StartJob();
    if (!job->hasFailed)
        Reset([&] {
            if (job->search) {
                state_->search = *job->search;
                for (Slot slot = 0; slot < index.Size(); ++slot)
                    index.SetMatching(slot, slot < known
                                                ? job->matches[slot]
                                                : !index.HasGone(slot) &&
                                                      state_->search.Matches(*index[slot]));
            }
            if (!job->order)
                return;
            state_->sorted = std::move(job->sorted);
            state_->order = *job->order;
            state_->isUnsorted = false;
            state_->DropGone();
            for (Slot slot = known; slot < index.Size(); ++slot)
                if (!index.HasGone(slot))
                    state_->sorted.insert(PlaceIn(state_->sorted, index, state_->order, slot),
                                          slot);
        });
    NoteBusy();
}

void MailListModel::NoteBusy()
{
    if (IsBusy() != std::exchange(state_->wasBusy, IsBusy()))
        observers_.Notify([this](MailListModelObserver& observer) { observer.BusyChanged(*this); });
}

}  // namespace SYC
