#include "Messaging/MailBox.hpp"

#include "IO/ExclusiveFile.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <unordered_set>

namespace SYC {

namespace {

/// At most one part in so many of the time goes into WriteSoon, so that a large box does not hold
/// up its host with every mail that comes.
constexpr int WriteSoonShare = 20;

/// The file is written when there are more marks than these.
constexpr int MaximumUnsavedMarks = 5;

/// A mail of the box. What may change is no part of its identity.
struct Entry {
    OV::Ref<ClientMail> mail;
    mutable std::chrono::steady_clock::time_point arrival = {};
    mutable bool isInFile = false;  ///< as it was last read or written here
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

MailBox::MailBox(const IO::Location& folder)
    : file_(folder.Appended(MailFile::MailsName)),
      lockFile_(folder.Appended(OV::UniString(MailFile::MailsName) + u".lock")),
      index_(std::make_unique<Index>())
{
    OV::UniString notice;
    {
        const auto hold = IO::ExclusiveFile::Open(lockFile_);
        MailFile::Content content = MailFile::ReadKeepingDamage(file_);
        stamp_ = content.stamp;
        mails_ = std::move(content.mails);
        unknown_ = std::move(content.unknown);
        notice = std::move(content.notice);
    }
    MailFile::LogNotice(notice);
    // All of them stay in the list, also those that share an id.
    index_->entries.reserve(mails_.size());
    for (const auto& mail : mails_)
        index_->entries.insert({mail, {}, true});
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
        !index_->entries.insert({mail, Clock::now(), false}).second)
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
    return std::erase_if(mails_, [&](const auto& mail) {
        const bool isGone = isChosen(mail);
        if (isGone)
            changes_.removed.push_back(mail);
        return isGone;
    });
}

bool MailBox::Remove(const OV::PagedArray<OV::UniString>& ids)
{
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
}

// What others wrote

/// Nothing of theirs is lost by the next write of this box, and nothing of this box by theirs.
void MailBox::TakeOver(MailFile::Content content)
{
    for (const auto& mail : content.mails)
        TakeOverMail(mail);
    // Of a file that cannot be read to its end, nobody can say what is missing.
    if (content.outcome == MailFile::Outcome::Complete && content.unknown.count == 0)
        RemoveWhatOthersDeleted(content.mails);
    if (content.outcome != MailFile::Outcome::Absent)
        unknown_ = std::move(content.unknown);
    stamp_ = content.stamp;
}

void MailBox::TakeOverMail(const OV::Ref<ClientMail>& theirs)
{
    const auto& id = theirs->GetId();
    // One without an id cannot be told from another; all processes read such ones from the file.
    if (id.empty() || index_->deleted.contains(id) || index_->cleared.contains(id))
        return;
    const auto* ours = index_->Find(id);
    if (ours == nullptr) {
        index_->entries.insert({theirs, Clock::now(), true});
        Insert(theirs);
        arrivals_.push_back(theirs);
        hasNews_ = true;
        return;
    }
    ours->isInFile = true;
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

void MailBox::RemoveWhatOthersDeleted(const MailList& theirs)
{
    std::unordered_set<OV::UniStringView> still;
    still.reserve(theirs.size());
    for (const auto& mail : theirs)
        still.insert(mail->GetId());
    auto& deleted = index_->deletedByOthers;
    const auto before = deleted.size();
    for (const Entry& entry : index_->entries)
        if (entry.isInFile && !entry.mail->GetId().empty() && !still.contains(entry.mail->GetId()))
            deleted.insert(entry.mail->GetId());
    if (deleted.size() == before)
        return;
    const auto isDeleted = [&](const auto& mail) { return deleted.contains(mail->GetId()); };
    std::erase_if(index_->entries, [&](const Entry& entry) { return isDeleted(entry.mail); });
    RemoveFromList(isDeleted);
    std::erase_if(arrivals_, isDeleted);
    hasNews_ = true;
}

// Writing

void MailBox::Write()
{
    const auto start = Clock::now();
    OV::UniString notice;
    {
        const auto hold = IO::ExclusiveFile::Open(lockFile_);
        if (IO::File::GetChangeStamp(file_) != stamp_) {
            MailFile::Content content = MailFile::ReadKeepingDamage(file_);
            notice = std::move(content.notice);
            TakeOver(std::move(content));
        }
        stamp_ = MailFile::Write(file_, mails_, unknown_);
    }
    for (const Entry& entry : index_->entries)
        entry.isInFile = true;
    index_->cleared.clear();
    isChanged_ = false;
    unsavedMarks_ = 0;
    NoteCost(start);
    MailFile::LogNotice(notice);
}

void MailBox::NoteCost(Clock::time_point start) noexcept
{
    lastWrite_ = Clock::now();
    lastWriteCost_ = lastWrite_ - start;
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

void MailBox::NoteMark()
{
    isChanged_ = true;
    if (++unsavedMarks_ > MaximumUnsavedMarks)
        Write();
}

template <class Work>
void MailBox::Guarded(Work work) noexcept
{
    try {
        work();
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library,
                                u"% cannot be kept in their file. The next refresh after a start "
                                u"fetches what it lacks and takes out what was deleted. %",
                                u"The mails");
    }
}

void MailBox::WriteSoon() noexcept
{
    isChanged_ = true;
    if (IsTimeToWrite())
        WriteRest();
}

void MailBox::WriteRest() noexcept
{
    if (isChanged_)
        Guarded([this] { Write(); });
}

void MailBox::FollowOthers() noexcept
{
    Guarded([this] {
        if (IO::File::GetChangeStamp(file_) == stamp_)
            return;
        const auto start = Clock::now();
        MailFile::Content content = MailFile::Read(file_);
        // A damaged one is left to the next write, which sets it aside.
        if (content.outcome == MailFile::Outcome::Complete)
            TakeOver(std::move(content));
        NoteCost(start);
    });
}

void MailBox::FollowOthersSoon() noexcept
{
    if (IsTimeToWrite())
        FollowOthers();
}

}  // namespace SYC
