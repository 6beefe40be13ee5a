#include "Messaging/Detail/MailBoxFile.hpp"

#include "IO/ExclusiveFile.hpp"
#include "IO/IOException.hpp"

#include <charconv>
#include <unordered_map>

namespace SYC {

namespace {

OV::String TextOf(const IO::ChangeStamp& stamp)
{
    return ' ' + std::to_string(stamp.modificationNanoseconds) + ' ' + std::to_string(stamp.size) +
           ' ' + std::to_string(stamp.identity) + '\n';
}

bool HasMarkBeyond(const ClientMail& theirs, const ClientMail& ours)
{
    return (theirs.IsRead() && !ours.IsRead()) || (theirs.IsHistorical() && !ours.IsHistorical()) ||
           (theirs.IsModify() && !ours.IsModify());
}

}  // namespace

MailBoxFile::MailBoxFile(const IO::Location& folder)
    : file_(folder.Appended(MailFile::MailsName)),
      lockFile_(folder.Appended(OV::UniString(MailFile::MailsName) + u".lock")),
      changeFile_(folder.Appended(OV::UniString(MailFile::MailsName) + u".change"))
{}

MailSnapshot::List MailBoxFile::Open()
{
    OV::UniString notice;
    {
        const auto hold = IO::ExclusiveFile::Open(lockFile_);
        MailFile::Content content = MailFile::ReadKeepingDamage(file_);
        stamp_ = content.stamp;
        known_ = std::make_shared<const MailFile::MailList>(std::move(content.mails));
        unknown_ = std::move(content.unknown);
        notice = std::move(content.notice);
        change_ = ReadChange();
    }
    MailFile::LogNotice(notice);
    return known_;
}

std::optional<MailNews> MailBoxFile::Follow()
{
    if (IO::File::GetChangeStamp(file_) == stamp_)
        return std::nullopt;
    MailFile::Content content = MailFile::Read(file_);
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
            MailFile::Content content = MailFile::ReadKeepingDamage(file_);
            notice = std::move(content.notice);
            if (auto news = TakeOver(std::move(content)); !news.IsEmpty())
                merged = merge(std::move(news));
        }
        if (merged != nullptr) {
            stamp_ = IO::File::Replace(file_, merged->Encode(unknown_), true);
            SetKnown(merged->GetList());
            WriteChange(merged->GetChange());
            isWritten = true;
        }
    }
    MailFile::LogNotice(notice);
    return isWritten;
}

/// It counts for the file that it was written for and for no other: who does not know of it may
/// have replaced that one, or a crash come between the two.
std::uint64_t MailBoxFile::ReadChange() const
try {
    constexpr std::uint64_t most = 100;
    std::uint64_t change = 0;
    const OV::String text = IO::File::ReadAll(changeFile_, most);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), change);
    return error == std::errc() && stamp_ &&
                   text.substr(static_cast<std::size_t>(end - text.data())) == TextOf(*stamp_)
               ? change
               : 0;
} catch (const IO::IOException&) {
    return 0;
}

void MailBoxFile::WriteChange(std::uint64_t change) const noexcept
try {
    if (change != 0)
        (void)IO::File::Replace(changeFile_, std::to_string(change) + TextOf(*stamp_), true);
} catch (...) {
    // The next start asks for all flags, as it does without the file.
}

void MailBoxFile::SetKnown(MailSnapshot::List list)
{
    retired_.push_back(std::exchange(known_, std::move(list)));
}

MailNews MailBoxFile::TakeOver(MailFile::Content content)
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
    for (const auto& theirs : content.mails) {
        if (theirs->GetId().empty())
            continue;
        const auto found = known.find(theirs->GetId());
        const bool isKnown = found != known.end();
        if (!isKnown || HasMarkBeyond(*theirs, **found->second.mail))
            news.mails.push_back(theirs);
        if (isKnown)
            found->second.isStillThere = true;
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
    SetKnown(std::make_shared<const MailFile::MailList>(std::move(now)));
    return news;
}

}  // namespace SYC
