#include "Messaging/Detail/MailBoxFile.hpp"

#include "IO/ExclusiveFile.hpp"

#include <unordered_map>

namespace SYC {

namespace {

/// A smaller one is replaced in no more time, and then nobody ever meets a part of a change.
constexpr std::uint64_t LeastAmended = 256 << 10;

bool HasMarkBeyond(const ClientMail& theirs, const ClientMail& ours)
{
    return (theirs.IsRead() && !ours.IsRead()) || (theirs.IsHistorical() && !ours.IsHistorical()) ||
           (theirs.IsModify() && !ours.IsModify());
}

}  // namespace

MailBoxFile::MailBoxFile(const IO::Location& folder)
    : file_(folder.Appended(MailFile::MailsName)),
      lockFile_(folder.Appended(OV::UniString(MailFile::MailsName) + u".lock")), changeFile_(file_)
{}

MailSnapshot::List MailBoxFile::Open()
{
    OV::UniString notice;
    {
        const auto hold = IO::ExclusiveFile::Open(lockFile_);
        MailFileContent content = Read();
        stamp_ = content.stamp;
        change_ = stamp_ ? changeFile_.Read(*stamp_) : 0;
        // Without its size beside it, nobody could tell an addition that a crash cut off from
        // damage.
        places_ = change_ != 0 ? std::move(content.places) : nullptr;
        known_ = std::make_shared<const MailFile::MailList>(std::move(content.mails));
        unknown_ = std::move(content.unknown);
        notice = std::move(content.notice);
    }
    MailFile::LogNotice(notice);
    return known_;
}

/// What a crash kept from being counted is no damage: the server has it, and the next write takes
/// its place.
MailFileContent MailBoxFile::Read() const
{
    MailFileContent content = ReadMailFile(file_);
    if (changeFile_.IsUnfinished(content)) {
        content.outcome = MailFile::Outcome::Complete;
        content.places = nullptr;
    }
    KeepDamage(file_, content);
    return content;
}

std::optional<MailNews> MailBoxFile::Follow()
{
    if (IO::File::GetChangeStamp(file_) == stamp_)
        return std::nullopt;
    MailFileContent content = ReadMailFile(file_);
    if (content.outcome != MailFile::Outcome::Complete)
        return std::nullopt;
    return TakeOver(std::move(content));
}

bool MailBoxFile::Write(const MailSnapshot& mails, const Merge& merge)
{
    OV::UniString notice;
    bool isWritten = false;
    {
        const auto hold = IO::ExclusiveFile::Open(lockFile_);
        const MailSnapshot* merged = &mails;
        if (IO::File::GetChangeStamp(file_) != stamp_) {
            MailFileContent content = Read();
            notice = std::move(content.notice);
            if (auto news = TakeOver(std::move(content)); !news.IsEmpty())
                merged = merge(std::move(news));
        }
        if (merged != nullptr) {
            Put(*merged);
            isWritten = true;
        }
    }
    MailFile::LogNotice(notice);
    return isWritten;
}

void MailBoxFile::Put(const MailSnapshot& mails)
{
    const auto former = stamp_;
    if (!Amend(mails)) {
        auto places = std::make_shared<MailPlaces>();
        stamp_ = IO::File::Replace(file_, mails.Encode(unknown_, *places), true);
        places_ = std::move(places);
    }
    SetKnown(mails.GetList());
    if (stamp_ == former && mails.GetChange() == change_)
        return;
    change_ = mails.GetChange();
    if (!changeFile_.Write(change_, *stamp_))
        places_ = nullptr;
}

bool MailBoxFile::Amend(const MailSnapshot& mails)
{
    // They are worth nothing any more whenever this fails.
    const auto places = std::exchange(places_, nullptr);
    if (!places || unknown_.count != 0 || stamp_->size < LeastAmended)
        return false;
    const auto change = places->Turn(*known_, mails);
    if (!change)
        return false;
    if (!change->patches.empty()) {
        const auto stamp = IO::File::Amend(file_, *stamp_, change->added, change->patches);
        if (!stamp)
            return false;
        stamp_ = stamp;
    }
    places_ = places;
    return true;
}

void MailBoxFile::SetKnown(MailSnapshot::List list)
{
    retired_.push_back(std::exchange(known_, std::move(list)));
}

MailNews MailBoxFile::TakeOver(MailFileContent content)
{
    struct Known {
        const OV::Ref<ClientMail>* mail;
        bool isStillThere = false;
    };
    MailNews news;
    std::unordered_map<OV::UniStringView, Known> known;
    known.reserve(known_->size());
    // One without an id cannot be told from another; all processes read such ones from the file.
    for (const auto& mail : *known_)
        if (!mail->GetId().empty())
            known.try_emplace(mail->GetId(), Known{&mail});
    MailFile::MailList now;
    bool areInPlace = true;
    for (const auto& theirs : content.mails) {
        if (theirs->GetId().empty())
            continue;
        const auto found = known.find(theirs->GetId());
        const bool isKnown = found != known.end();
        if (!isKnown || HasMarkBeyond(*theirs, **found->second.mail))
            news.mails.push_back(theirs);
        if (isKnown) {
            found->second.isStillThere = true;
            areInPlace = areInPlace && MailPlaces::AreAlike(*theirs, **found->second.mail);
        }
        now.push_back(isKnown ? *found->second.mail : theirs);
    }
    // Of a file that cannot be read to its end, nobody can say what is missing.
    const bool isWhole =
        content.outcome == MailFile::Outcome::Complete && content.unknown.count == 0;
    for (const auto& [id, mail] : known)
        if (!mail.isStillThere)
            isWhole ? news.deleted.push_back(OV::UniString(id)) : now.push_back(*mail.mail);
    if (content.outcome != MailFile::Outcome::Absent)
        unknown_ = std::move(content.unknown);
    stamp_ = content.stamp;
    // The list is that of the file, but for a mail without an id.
    areInPlace = areInPlace && isWhole && now.size() == content.mails.size();
    change_ = stamp_ ? changeFile_.Read(*stamp_) : 0;
    places_ = areInPlace && change_ != 0 ? std::move(content.places) : nullptr;
    SetKnown(std::make_shared<const MailFile::MailList>(std::move(now)));
    return news;
}

}  // namespace SYC
