#include "Messaging/MailBox.hpp"

#include "Messaging/Detail/HoldFile.hpp"
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

/// Mails are looked up by their own id; a table of ids beside them would cost memory twice.
struct IdHash {
    using is_transparent = void;
    std::size_t operator()(OV::UniStringView id) const
    {
        return std::hash<OV::UniStringView>()(id);
    }
    std::size_t operator()(const OV::Ref<ClientMail>& mail) const { return (*this)(mail->GetId()); }
};

struct IdEqual {
    using is_transparent = void;
    static OV::UniStringView IdOf(OV::UniStringView id) { return id; }
    static OV::UniStringView IdOf(const OV::Ref<ClientMail>& mail) { return mail->GetId(); }
    bool operator()(const auto& left, const auto& right) const { return IdOf(left) == IdOf(right); }
};

}  // namespace

struct MailBox::Index {
    std::unordered_set<OV::Ref<ClientMail>, IdHash, IdEqual> mails;
};

MailBox::MailBox(const IO::Location& folder)
    : file_(folder.Appended(MailFile::MailsName)),
      lockFile_(folder.Appended(OV::UniString(MailFile::MailsName) + u".lock")),
      index_(std::make_unique<Index>())
{
    const IO::ExclusiveFile hold = HoldFile(lockFile_);
    MailFile::Content content = MailFile::ReadKeepingDamage(file_);
    stamp_ = content.stamp;
    mails_.reserve(content.mails.size());
    index_->mails.reserve(content.mails.size());
    for (const auto& mail : content.mails)
        Add(mail);
    isChanged_ = false;
}

MailBox::~MailBox() = default;

OV::Ref<ClientMail> MailBox::Find(const OV::UniString& id) const
{
    const auto found = index_->mails.find(OV::UniStringView(id));
    return found == index_->mails.end() ? OV::Ref<ClientMail>() : *found;
}

std::int32_t MailBox::LastRepositoryTime() const noexcept
{
    return mails_.empty() ? 0 : mails_.back()->GetRepositoryTime();
}

bool MailBox::Add(const OV::Ref<ClientMail>& mail)
{
    if (!index_->mails.insert(mail).second)
        return false;
    mails_.push_back(mail);
    isChanged_ = true;
    return true;
}

bool MailBox::Remove(const OV::PagedArray<OV::UniString>& ids)
{
    const OV::HashSet<OV::UniString> chosen(ids.begin(), ids.end());
    const auto removed =
        std::erase_if(mails_, [&](const auto& mail) { return chosen.contains(mail->GetId()); });
    for (const auto& id : chosen)
        if (const auto found = index_->mails.find(OV::UniStringView(id));
            found != index_->mails.end())
            index_->mails.erase(found);
    isChanged_ = isChanged_ || removed != 0;
    return removed != 0;
}

void MailBox::Clear()
{
    isChanged_ = isChanged_ || !mails_.empty();
    mails_.clear();
    index_->mails.clear();
}

void MailBox::TakeMarksOfOthers()
{
    if (IO::File::GetChangeStamp(file_) == stamp_)
        return;
    // Their mails need no taking over: whatever this box lacks comes with its next refresh.
    for (const auto& theirs : MailFile::ReadKeepingDamage(file_).mails) {
        const auto ours = Find(theirs->GetId());
        if (!ours)
            continue;
        if (theirs->IsRead())
            ours->SetRead();
        if (theirs->IsHistorical())
            ours->SetHistorical();
        if (theirs->IsModify())
            ours->SetModify(true);
    }
}

void MailBox::Write()
{
    const auto start = std::chrono::steady_clock::now();
    const IO::ExclusiveFile hold = HoldFile(lockFile_);
    TakeMarksOfOthers();
    stamp_ = MailFile::Write(file_, mails_);
    isChanged_ = false;
    unsavedMarks_ = 0;
    lastWrite_ = std::chrono::steady_clock::now();
    lastWriteCost_ = lastWrite_ - start;
}

void MailBox::NoteMark()
{
    isChanged_ = true;
    if (++unsavedMarks_ > MaximumUnsavedMarks)
        Write();
}

void MailBox::WriteSoon() noexcept
{
    isChanged_ = true;
    if (std::chrono::steady_clock::now() - lastWrite_ >= lastWriteCost_ * WriteSoonShare)
        WriteRest();
}

void MailBox::WriteRest() noexcept
{
    if (!isChanged_)
        return;
    try {
        Write();
    } catch (const std::exception& error) {
        OV::Logger::Error("SYClient",
                          u"The mails cannot be written; the server has them, and they are fetched "
                          u"again when the project is opened next: %",
                          {error.what()});
    }
}

}  // namespace SYC
