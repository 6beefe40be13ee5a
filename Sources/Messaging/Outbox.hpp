#pragma once

#include "IO/File.hpp"
#include "Messaging/MailFile.hpp"
#include "Messaging/OutboxObserver.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"

#include <chrono>
#include <optional>

namespace SYC {

/// The mails that wait for delivery, in "Outbox.dat". Every mail has an id made here, under which
/// the server recognises it, so that sending it twice delivers it once.
///
/// A mail is on the disk before Add returns. Delivered mails leave the file in groups: what a crash
/// brings back is sent again and recognised. Several processes may share the file: each takes the
/// others' changes over whenever it looks at its mails, and before it writes its own. What this
/// process does not know stays in the file for one that does. Safe on any thread.
class SYC_API Outbox {
public:
    /// Mails in shared ownership.
    using MailList = MailFile::MailList;

    /// Reads the file in `folder`. A damaged one is kept under another name. Throws
    /// IO::IOException.
    explicit Outbox(const IO::Location& folder);
    /// Writes what is outstanding.
    ~Outbox();
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    /// In the order in which they were added, by whichever process.
    [[nodiscard]] MailList GetMails() const;
    /// The first mail that this process can send and that is not among `passed`; empty when there
    /// is none.
    [[nodiscard]] OV::Ref<ClientMail> First(const OV::HashSet<OV::UniString>& passed) const;

    /// Throws IO::IOException when the disk does not take it; the mail is then not in the outbox.
    void Add(const OV::Ref<ClientMail>& mail);
    /// Forgets a mail that the server has; the file follows within a group or with Save.
    void Delivered(const OV::UniString& id);
    /// Throw IO::IOException; then nothing changed.
    void Remove(const OV::Array<OV::UniString>& ids);
    /// Marks mails as history; as Remove throws.
    void SetHistorical(const OV::Array<OV::UniString>& ids);
    /// Writes what is outstanding. A disk that refuses is logged and tried again with the next
    /// change.
    void Save() noexcept;
    /// Whether the file still holds mails that the server has, because the disk did not take it.
    [[nodiscard]] bool IsFileBehind() const;

    /// The observer is not owned; it detaches before it is destroyed, or outlives the outbox.
    /// @{
    void Attach(OutboxObserver& observer) { observers_.Attach(observer); }
    void Detach(OutboxObserver& observer) { observers_.Detach(observer); }
    /// @}
    /// Attached for as long as the answer lives (see OVRoot/EventSource.hpp).
    [[nodiscard]] OV::Subscription Subscribe(OutboxObserver& observer)
    {
        return observers_.Subscribe(observer);
    }
    /// For the mail client, on its executor.
    void TellObservers();
    /// As TellObservers, of the status alone.
    void TellStatusObservers();

private:
    /// Writes `change` of the file's content, under both locks, and logs what there is to tell when
    /// they are free again.
    template <class Change>
    void Write(Change change) OV_EXCLUDES(lock_);
    template <class Change>
    void WriteLocked(Change change) OV_REQUIRES(lock_);
    /// For who holds the lock file: a damaged file is set aside.
    void ReadIfChanged() OV_REQUIRES(lock_);
    /// For who does not: the file is replaced as a whole, so it can be read at any time.
    void LookAtFile() const OV_REQUIRES(lock_);
    void Take(MailFile::Content content) const OV_REQUIRES(lock_);
    void TellNotice() OV_EXCLUDES(lock_);
    /// For mails of a file that was written without.
    void GiveIds() OV_REQUIRES(lock_);

    const IO::Location file_;
    const IO::Location lockFile_;
    mutable OV::Lock lock_;
    // What the file holds, as far as this process looked.
    mutable MailList mails_ OV_GUARDED_BY(lock_);
    mutable MailFile::UnknownRecords unknown_ OV_GUARDED_BY(lock_);
    mutable std::optional<IO::ChangeStamp> stamp_ OV_GUARDED_BY(lock_);
    /// Out of `mails_`, but not yet out of the file.
    OV::HashSet<OV::UniString> delivered_ OV_GUARDED_BY(lock_);
    OV::UniString notice_ OV_GUARDED_BY(lock_);
    std::chrono::steady_clock::time_point written_ OV_GUARDED_BY(lock_);
    OV::EventSource<OutboxObserver> observers_;
};

}  // namespace SYC
