#include "Messaging/MailBox.hpp"

#include "Messaging/Detail/MailBoxFile.hpp"
#include "OVRoot/Condition.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <atomic>
#include <unordered_set>

namespace SYC {

namespace {

/// At most one part in so many of the time goes into WriteSoon, so that a large box does not hold
/// up its host with every mail that comes.
constexpr int WriteSoonShare = 20;

/// The file is written when there are more marks than these.
constexpr int MaximumUnsavedMarks = 5;
/// A box of at most so many mails is written before observers hear of the sixth mark, unless that
/// takes longer than this.
constexpr std::size_t MailsWrittenAtOnce = 2'000;
constexpr std::uint32_t MillisecondsAtOnce = 40;

/// A mail of the box. What may change is no part of its identity.
struct Entry {
    OV::Ref<ClientMail> mail;
    std::chrono::steady_clock::time_point arrival = {};
};

/// Mails are looked up by their own id; a table of ids beside them would cost memory twice.
struct IdHash {
    using is_transparent = void;
    std::size_t operator()(OV::UniStringView id) const
    {
        return std::hash<OV::UniStringView>()(id);
    }
    std::size_t operator()(const Entry& entry) const { return (*this)(entry.mail->GetId()); }
};

struct IdEqual {
    using is_transparent = void;
    static OV::UniStringView IdOf(OV::UniStringView id) { return id; }
    static OV::UniStringView IdOf(const Entry& entry) { return entry.mail->GetId(); }
    bool operator()(const auto& left, const auto& right) const { return IdOf(left) == IdOf(right); }
};

}  // namespace

struct MailBox::Index {
    std::unordered_set<Entry, IdHash, IdEqual> entries;
    /// Deleted here, for as long as the box lives: another process may still have them, and a
    /// refresh may have fetched them before.
    OV::HashSet<OV::UniString> deleted;
    /// Deleted by others since the refresh under way began.
    OV::HashSet<OV::UniString> deletedByOthers;
    /// Cleared here, and still in the file.
    OV::HashSet<OV::UniString> cleared;

    [[nodiscard]] const Entry* Find(OV::UniStringView id) const
    {
        const auto found = entries.find(id);
        return found == entries.end() ? nullptr : &*found;
    }
};

/// Whoever claims it first runs it: the background, or the box that cannot wait for that.
struct MailBox::Work {
    // What is asked.
    std::shared_ptr<MailBoxFile> file;
    std::optional<MailSnapshot> mails;  ///< to be written; nothing to follow others
    OV::HashSet<OV::UniString> cleared;
    int marks = 0;
    // What comes of it.
    bool isWritten = false;
    std::optional<MailNews> news;
    std::exception_ptr failure;
    Clock::duration cost{};

    void Run() noexcept
    {
        if (isClaimed_.exchange(true))
            return;
        const auto start = Clock::now();
        try {
            if (mails)
                // They are merged on the box's own thread, which then asks again.
                isWritten = file->Write(*mails, [this](MailNews theirs) {
                    news = std::move(theirs);
                    return nullptr;
                });
            else
                news = file->Follow();
        } catch (...) {
            failure = std::current_exception();
        }
        cost = Clock::now() - start;
        done_.Notify();
    }
    void Await()
    {
        Run();
        done_.Wait();
    }
    /// Not when the thread is asked to stop meanwhile.
    [[nodiscard]] bool IsSoonDone() noexcept
    try {
        return done_.Wait(MillisecondsAtOnce);
    } catch (...) {
        return false;
    }

private:
    std::atomic<bool> isClaimed_ = false;
    OV::Condition done_;
};

MailBox::MailBox(const IO::Location& folder)
    : file_(std::make_shared<MailBoxFile>(folder)), mails_(*file_->Open()),
      index_(std::make_unique<Index>())
{
    knownChange_ = file_->GetChange();
    // All of them stay in the list, also those that share an id.
    index_->entries.reserve(mails_.size());
    for (const auto& mail : mails_)
        index_->entries.insert({mail});
}

MailBox::~MailBox() = default;

OV::Ref<ClientMail> MailBox::Find(const OV::UniString& id) const
{
    const auto* found = index_->Find(id);
    return found == nullptr ? OV::Ref<ClientMail>() : found->mail;
}

std::int32_t MailBox::LastRepositoryTime() const noexcept
{
    return mails_.empty() ? 0 : mails_.back()->GetRepositoryTime();
}

bool MailBox::WasHereAt(const ClientMail& mail, Clock::time_point time) const
{
    const auto* found = index_->Find(mail.GetId());
    return found != nullptr && found->arrival < time;
}

void MailBox::BeginRefresh()
{
    index_->deletedByOthers.clear();
}

bool MailBox::Add(const OV::Ref<ClientMail>& mail)
{
    if (index_->deleted.contains(mail->GetId()) ||
        index_->deletedByOthers.contains(mail->GetId()) ||
        !index_->entries.insert({mail, Clock::now()}).second)
        return false;
    mails_.push_back(mail);
    changes_.added.push_back(mail);
    isChanged_ = true;
    return true;
}

/// Returns how many were there.
template <class Chosen>
std::size_t MailBox::RemoveFromList(Chosen isChosen)
{
    const auto count = std::erase_if(mails_, [&](const auto& mail) {
        const bool isGone = isChosen(mail);
        if (isGone)
            changes_.removed.push_back(mail);
        return isGone;
    });
    removed_ += count;
    return count;
}

bool MailBox::Remove(const OV::PagedArray<OV::UniString>& ids)
{
    if (ids.empty())
        return false;
    const OV::HashSet<OV::UniString> chosen(ids.begin(), ids.end());
    const auto removed =
        RemoveFromList([&](const auto& mail) { return chosen.contains(mail->GetId()); });
    for (const auto& id : chosen) {
        if (const auto found = index_->entries.find(OV::UniStringView(id));
            found != index_->entries.end())
            index_->entries.erase(found);
        if (!id.empty())
            index_->deleted.insert(id);
    }
    isChanged_ = isChanged_ || removed != 0;
    return removed != 0;
}

void MailBox::Clear()
{
    isChanged_ = isChanged_ || !mails_.empty();
    for (const auto& mail : mails_)
        index_->cleared.insert(mail->GetId());
    changes_.removed.insert(changes_.removed.end(), mails_.begin(), mails_.end());
    mails_.clear();
    arrivals_.clear();
    index_->entries.clear();
    knownChange_ = 0;
}

// What others wrote

/// Nothing of theirs is lost by the next write of this box, and nothing of this box by theirs.
void MailBox::TakeOver(const MailNews& news)
{
    for (const auto& mail : news.mails)
        TakeOverMail(mail);
    RemoveWhatOthersDeleted(news.deleted);
}

void MailBox::TakeOverMail(const OV::Ref<ClientMail>& theirs)
{
    const auto& id = theirs->GetId();
    if (index_->deleted.contains(id) || index_->cleared.contains(id))
        return;
    const auto* ours = index_->Find(id);
    if (ours == nullptr) {
        index_->entries.insert({theirs, Clock::now()});
        Insert(theirs);
        arrivals_.push_back(theirs);
        hasNews_ = true;
        return;
    }
    if ((theirs->IsRead() && !ours->mail->IsRead()) ||
        (theirs->IsHistorical() && !ours->mail->IsHistorical())) {
        changes_.marked.push_back(ours->mail);
        hasNews_ = true;
    }
    if (theirs->IsRead())
        ours->mail->SetRead();
    if (theirs->IsHistorical())
        ours->mail->SetHistorical();
    if (theirs->IsModify())
        ours->mail->SetModify(true);
}

/// The newest stays last, as the next refresh begins with its time.
void MailBox::Insert(const OV::Ref<ClientMail>& mail)
{
    auto place = mails_.end();
    while (place != mails_.begin() &&
           (*std::prev(place))->GetRepositoryTime() > mail->GetRepositoryTime())
        --place;
    mails_.insert(place, mail);
    changes_.added.push_back(mail);
}

void MailBox::RemoveWhatOthersDeleted(const OV::Array<OV::UniString>& ids)
{
    auto& deleted = index_->deletedByOthers;
    const auto before = deleted.size();
    for (const auto& id : ids)
        if (index_->Find(id) != nullptr)
            deleted.insert(id);
    if (deleted.size() == before)
        return;
    const auto isDeleted = [&](const auto& mail) { return deleted.contains(mail->GetId()); };
    std::erase_if(index_->entries, [&](const Entry& entry) { return isDeleted(entry.mail); });
    RemoveFromList(isDeleted);
    std::erase_if(arrivals_, isDeleted);
    hasNews_ = true;
}

// The file

void MailBox::SetBackground(Background background, Ended ended)
{
    background_ = std::move(background);
    ended_ = std::move(ended);
}

bool MailBox::IsFileBehind() const noexcept
{
    return isChanged_ || (work_ && work_->mails);
}

/// Ends what is under way, on this thread if need be. Whether the file was written with it.
bool MailBox::Settle()
{
    bool isWritten = false;
    while (work_) {
        const auto work = work_;
        work->Await();
        End(work);
        isWritten = work->isWritten;
    }
    return isWritten;
}

/// Begins what was asked for while something else was under way.
void MailBox::GoOn() noexcept
{
    if (!work_ && std::exchange(isWriteWanted_, false))
        Start(true);
}

void MailBox::Write()
{
    if (Settle() && !isChanged_)
        return;
    const auto start = Clock::now();
    std::optional<MailSnapshot> merged;
    isChanged_ = true;
    file_->Write(MailSnapshot(mails_, knownChange_), [&](const MailNews& news) {
        TakeOver(news);
        return &merged.emplace(mails_, knownChange_);
    });
    (void)file_->TakeRetired();
    index_->cleared.clear();
    isChanged_ = isWriteWanted_ = false;
    unsavedMarks_ = 0;
    lastWrite_ = Clock::now();
    lastWriteCost_ = lastWrite_ - start;
}

void MailBox::StartWriting() noexcept
{
    isChanged_ = true;
    if (work_)
        isWriteWanted_ = true;
    else
        Start(true);
}

/// Nothing may be under way.
void MailBox::Start(bool isWriting) noexcept
{
    try {
        const auto work = std::make_shared<Work>();
        work->file = file_;
        if (isWriting) {
            work->mails.emplace(mails_, knownChange_);
            work->cleared = index_->cleared;
            work->marks = std::exchange(unsavedMarks_, 0);
            isChanged_ = false;
        }
        work_ = work;
        bool isTaken = false;
        try {
            const auto end = [this, work] {
                End(work);
                GoOn();
            };
            isTaken = background_ && background_([work] { work->Run(); }, end);
        } catch (const std::bad_alloc&) {
            // As if there were no thread.
        }
        if (isTaken)
            return;
        (void)Settle();
        GoOn();
    } catch (...) {
        Failed(std::current_exception());
    }
}

/// Takes over what came of the work, once.
void MailBox::End(const std::shared_ptr<Work>& work) noexcept
{
    if (work != work_)
        return;
    work_.reset();
    // The other thread may hold the work longer, and is not to destroy mails.
    (void)file_->TakeRetired();
    const bool isOpen = std::exchange(work->mails, std::nullopt) && !work->isWritten;
    const auto news = std::exchange(work->news, std::nullopt);
    isChanged_ = isChanged_ || isOpen;
    unsavedMarks_ += isOpen ? work->marks : 0;
    if (work->isWritten || news) {
        lastWrite_ = Clock::now();
        lastWriteCost_ = work->cost;
    }
    try {
        if (work->isWritten)
            for (const auto& id : work->cleared)
                index_->cleared.erase(id);
        if (news)
            TakeOver(*news);
    } catch (...) {
        work->failure = std::current_exception();
    }
    isWriteWanted_ = isWriteWanted_ || (isOpen && !work->failure);
    if (work->failure)
        Failed(work->failure);
    else if (ended_)
        ended_(nullptr);
}

bool MailBox::IsTimeToWrite() const noexcept
{
    return Clock::now() - lastWrite_ >= lastWriteCost_ * WriteSoonShare;
}

void MailBox::NoteMarked(const ClientMail& mail)
{
    const auto* entry = index_->Find(mail.GetId());
    if (entry != nullptr && entry->mail.Get() == &mail)
        changes_.marked.push_back(entry->mail);
}

void MailBox::NoteMark() noexcept
{
    isChanged_ = true;
    if (++unsavedMarks_ <= MaximumUnsavedMarks)
        return;
    StartWriting();
    if (const auto work = work_;
        work && mails_.size() <= MailsWrittenAtOnce && work->IsSoonDone()) {
        End(work);
        GoOn();
    }
}

void MailBox::Failed(const std::exception_ptr& failure) noexcept
{
    try {
        std::rethrow_exception(failure);
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library,
                                u"% cannot be kept in their file. The next refresh after a start "
                                u"fetches what it lacks and takes out what was deleted. %",
                                u"The mails");
    }
    if (ended_)
        ended_(failure);
}

void MailBox::WriteSoon() noexcept
{
    isChanged_ = true;
    if (IsTimeToWrite())
        StartWriting();
}

void MailBox::WriteRest() noexcept
{
    try {
        if (Settle(); isChanged_)
            Write();
    } catch (...) {
        Failed(std::current_exception());
    }
}

void MailBox::FollowOthers() noexcept
{
    try {
        Settle();
        if (const auto news = file_->Follow())
            TakeOver(*news);
        (void)file_->TakeRetired();
        GoOn();
    } catch (...) {
        Failed(std::current_exception());
    }
}

void MailBox::FollowOthersSoon() noexcept
{
    if (IsTimeToWrite() && !work_)
        Start(false);
}

}  // namespace SYC
