#include "Messaging/Outbox.hpp"

#include "Messaging/Detail/HoldFile.hpp"
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
    const IO::ExclusiveFile hold = HoldFile(lockFile_);
    const OV::LockGuard guard(lock_);
    ReadIfChanged();
    if (std::any_of(mails_.begin(), mails_.end(),
                    [](const auto& mail) { return mail->GetId().empty(); }))
        GiveIds();
}

void Outbox::GiveIds()
{
    for (const auto& mail : mails_)
        if (mail->GetId().empty())
            mail->SetId(OV::Guid::Generate().ToText());
    // Before the first of them is sent, so that a crash does not make it a new mail.
    stamp_ = MailFile::Write(file_, mails_);
}

Outbox::~Outbox()
{
    Save();
}

void Outbox::ReadIfChanged()
{
    const auto stamp = IO::File::GetChangeStamp(file_);
    if (stamp == stamp_)
        return;
    MailFile::Content content = MailFile::ReadKeepingDamage(file_);
    // A loop, since the analysis of locks does not look into the algorithms.
    MailList kept;
    for (auto& mail : content.mails)
        if (!delivered_.contains(mail->GetId()))
            kept.push_back(std::move(mail));
    mails_ = std::move(kept);
    stamp_ = content.stamp;
}

template <class Change>
void Outbox::Write(Change change)
{
    const IO::ExclusiveFile hold = HoldFile(lockFile_);
    ReadIfChanged();
    MailList changed = mails_;
    change(changed);
    stamp_ = MailFile::Write(file_, changed);
    written_ = std::chrono::steady_clock::now();
    mails_ = std::move(changed);
    delivered_.clear();
}

Outbox::MailList Outbox::GetMails() const
{
    const OV::LockGuard guard(lock_);
    return mails_;
}

bool Outbox::IsEmpty() const
{
    const OV::LockGuard guard(lock_);
    return mails_.empty();
}

OV::Ref<ClientMail> Outbox::First(const OV::HashSet<OV::UniString>& passed) const
{
    const OV::LockGuard guard(lock_);
    const auto found = std::find_if(mails_.begin(), mails_.end(), [&](const auto& mail) {
        return !passed.contains(mail->GetId());
    });
    return found == mails_.end() ? OV::Ref<ClientMail>() : *found;
}

void Outbox::Add(const OV::Ref<ClientMail>& mail)
{
    const OV::LockGuard guard(lock_);
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
    const OV::LockGuard guard(lock_);
    Write([chosen = SetOf(ids)](MailList& mails) {
        std::erase_if(mails, [&](const auto& mail) { return chosen.contains(mail->GetId()); });
    });
}

void Outbox::SetHistorical(const OV::Array<OV::UniString>& ids)
{
    const OV::LockGuard guard(lock_);
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
        const OV::LockGuard guard(lock_);
        if (!delivered_.empty())
            Write([](MailList&) {});
    } catch (const std::exception& error) {
        OV::Logger::Error(
            "SYClient",
            u"The outbox cannot be written; mails that were delivered stay in it until "
            u"it can, and the server recognises them: %",
            {error.what()});
    }
}

void Outbox::TellObservers()
{
    observers_.Notify([](OutboxObserver& observer) { observer.OutboxChanged(); });
}

}  // namespace SYC
