#include "Messaging/Outbox.hpp"

#include "IO/ExclusiveFile.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>

namespace SYC {

namespace {

/// So many deliveries, or as many as fit into this time, are one write of the file.
constexpr std::size_t GroupSize = 64;
constexpr std::chrono::milliseconds GroupTime{250};

OV::HashSet<OV::UniString> SetOf(const OV::Array<OV::UniString>& ids)
{
    return {ids.begin(), ids.end()};
}

}  // namespace

Outbox::Outbox(const IO::Location& folder)
    : file_(folder.Appended(MailFile::OutboxName)),
      lockFile_(folder.Appended(OV::UniString(MailFile::OutboxName) + u".lock"))
{
    {
        const auto hold = IO::ExclusiveFile::Open(lockFile_);
        const OV::LockGuard guard(lock_);
        ReadIfChanged();
        if (std::any_of(mails_.begin(), mails_.end(),
                        [](const auto& mail) { return mail->GetId().empty(); }))
            GiveIds();
    }
    TellNotice();
}

void Outbox::GiveIds()
{
    for (const auto& mail : mails_)
        if (mail->GetId().empty())
            mail->SetId(OV::Guid::Generate().ToText());
    // Before the first of them is sent, so that a crash does not make it a new mail.
    stamp_ = MailFile::Write(file_, mails_, unknown_);
}

Outbox::~Outbox()
{
    Save();
}

void Outbox::ReadIfChanged()
{
    if (IO::File::GetChangeStamp(file_) == stamp_)
        return;
    MailFile::Content content = MailFile::ReadKeepingDamage(file_);
    notice_ = std::move(content.notice);
    Take(std::move(content));
}

void Outbox::LookAtFile() const
{
    try {
        if (IO::File::GetChangeStamp(file_) == stamp_)
            return;
        MailFile::Content content = MailFile::Read(file_);
        // A damaged one is left to the next write, which sets it aside.
        if (content.outcome == MailFile::Outcome::Complete ||
            content.outcome == MailFile::Outcome::Absent)
            Take(std::move(content));
    } catch (const IO::IOException&) {
        // What was known goes on; the next write says what is wrong with the file.
    }
}

void Outbox::Take(MailFile::Content content) const
{
    // A loop, since the analysis of locks does not look into the algorithms.
    MailList kept;
    for (auto& mail : content.mails)
        if (!delivered_.contains(mail->GetId()))
            kept.push_back(std::move(mail));
    mails_ = std::move(kept);
    unknown_ = std::move(content.unknown);
    stamp_ = content.stamp;
}

template <class Change>
void Outbox::Write(Change change)
{
    {
        const OV::LockGuard guard(lock_);
        WriteLocked(change);
    }
    TellNotice();
}

template <class Change>
void Outbox::WriteLocked(Change change)
{
    const auto hold = IO::ExclusiveFile::Open(lockFile_);
    ReadIfChanged();
    MailList changed = mails_;
    change(changed);
    stamp_ = MailFile::Write(file_, changed, unknown_);
    written_ = std::chrono::steady_clock::now();
    mails_ = std::move(changed);
    delivered_.clear();
}

void Outbox::TellNotice()
{
    OV::UniString notice;
    {
        const OV::LockGuard guard(lock_);
        notice.swap(notice_);
    }
    MailFile::LogNotice(notice);
}

Outbox::MailList Outbox::GetMails() const
{
    const OV::LockGuard guard(lock_);
    LookAtFile();
    return mails_;
}

OV::Ref<ClientMail> Outbox::First(const OV::HashSet<OV::UniString>& passed) const
{
    const OV::LockGuard guard(lock_);
    LookAtFile();
    const auto found = std::find_if(mails_.begin(), mails_.end(), [&](const auto& mail) {
        return !mail->HasUnknownActions() && !passed.contains(mail->GetId());
    });
    return found == mails_.end() ? OV::Ref<ClientMail>() : *found;
}

void Outbox::Add(const OV::Ref<ClientMail>& mail)
{
    Write([&](MailList& mails) { mails.push_back(mail); });
}

void Outbox::Delivered(const OV::UniString& id)
{
    bool isGroupFull = false;
    {
        const OV::LockGuard guard(lock_);
        std::erase_if(mails_, [&](const auto& mail) { return mail->GetId() == id; });
        delivered_.insert(id);
        isGroupFull = delivered_.size() >= GroupSize ||
                      std::chrono::steady_clock::now() - written_ >= GroupTime;
    }
    if (isGroupFull)
        Save();
}

void Outbox::Remove(const OV::Array<OV::UniString>& ids)
{
    Write([chosen = SetOf(ids)](MailList& mails) {
        std::erase_if(mails, [&](const auto& mail) { return chosen.contains(mail->GetId()); });
    });
}

void Outbox::SetHistorical(const OV::Array<OV::UniString>& ids)
{
    Write([chosen = SetOf(ids)](MailList& mails) {
        for (auto& mail : mails) {
            if (!chosen.contains(mail->GetId()))
                continue;
            // A new record: the one in the list may be on its way to the server just now.
            mail = OV::MakeRef<ClientMail>(*mail);
            mail->SetHistorical();
        }
    });
}

void Outbox::Save() noexcept
{
    try {
        {
            const OV::LockGuard guard(lock_);
            if (delivered_.empty())
                return;
        }
        Write([](MailList&) {});
    } catch (...) {
        OV::LogCurrentException(
            OV::Logger::Library,
            u"% cannot be written; mails that were delivered stay in it until it "
            u"can, and the server recognises them: %",
            u"The outbox");
    }
}

bool Outbox::IsFileBehind() const
{
    const OV::LockGuard guard(lock_);
    return !delivered_.empty();
}

void Outbox::TellObservers()
{
    observers_.Notify([](OutboxObserver& observer) { observer.OutboxChanged(); });
}

void Outbox::TellStatusObservers()
{
    observers_.Notify([](OutboxObserver& observer) { observer.OutboxStatusChanged(); });
}

}  // namespace SYC
