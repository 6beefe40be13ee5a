#pragma once

#include "IO/File.hpp"
#include "Messaging/MailChanges.hpp"
#include "Messaging/MailFile.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"

#include <chrono>
#include <memory>

namespace SYC {

/// The received and sent mails in the order received, found by id, and their file "Mails.dat".
/// Several processes may share the file. Whoever writes it takes over what others changed since he
/// read it: their marks, the mails that they fetched, and those that they deleted; and keeps what
/// he cannot read. One thread at a time.
class SYC_API MailBox {
public:
    using MailList = MailFile::MailList;
    using Clock = std::chrono::steady_clock;

    /// Reads the file in `folder`. A damaged one is kept under another name. Throws
    /// IO::IOException.
    explicit MailBox(const IO::Location& folder);
    ~MailBox();

    [[nodiscard]] const MailList& GetMails() const noexcept { return mails_; }
    /// Empty when there is none; the first when several have the id.
    [[nodiscard]] OV::Ref<ClientMail> Find(const OV::UniString& id) const;
    /// Of the last mail, which is the newest; 0 for an empty box.
    [[nodiscard]] std::int32_t LastRepositoryTime() const noexcept;
    /// Whether the mail was in the box at that time. Those of the file always were.
    [[nodiscard]] bool WasHereAt(const ClientMail& mail, Clock::time_point time) const;

    /// For the beginning of a refresh: Add then refuses what another process deletes until the next
    /// one.
    void BeginRefresh();
    /// False when a mail with that id is there already or was deleted here.
    bool Add(const OV::Ref<ClientMail>& mail);
    /// For mails that are deleted on the server; they do not come back. Whether any of them was
    /// there.
    bool Remove(const OV::PagedArray<OV::UniString>& ids);
    void Clear();

    /// Tells TakeChanges of a mark. Nothing for a mail that is not of the box.
    void NoteMarked(const ClientMail& mail);
    /// Notes that a mail was marked here alone, and writes the box with the sixth mark since it was
    /// last written. Throws as Write does.
    void NoteMark();
    /// Takes over what others wrote, then writes the box whole. Throws IO::IOException; the file
    /// then stays as it was.
    void Write();
    /// For a change that the server knows as well: writes when that costs little of the time, and
    /// otherwise leaves it to the next Write. A failure is logged.
    void WriteSoon() noexcept;
    /// Writes what WriteSoon left. A failure is logged.
    void WriteRest() noexcept;
    /// Takes over what others wrote; the second as seldom as WriteSoon writes. A failure is logged.
    void FollowOthers() noexcept;
    void FollowOthersSoon() noexcept;

    /// Whether the list has changes that its file has not.
    [[nodiscard]] bool IsFileBehind() const noexcept { return isChanged_; }

    /// Whether something of others was taken over since this was last asked.
    [[nodiscard]] bool TakeNews() noexcept { return std::exchange(hasNews_, false); }
    /// The mails that came that way since this was last asked, oldest first.
    [[nodiscard]] MailList TakeArrivals() noexcept { return std::exchange(arrivals_, {}); }

    /// What became of the list since this was last asked, whoever did it.
    [[nodiscard]] MailChanges TakeChanges() noexcept { return std::exchange(changes_, {}); }

private:
    struct Index;
    /// As WriteSoon and the others, which are not to throw.
    template <class Work>
    void Guarded(Work work) noexcept;
    [[nodiscard]] bool IsTimeToWrite() const noexcept;
    void NoteCost(Clock::time_point start) noexcept;
    void TakeOver(MailFile::Content content);
    void TakeOverMail(const OV::Ref<ClientMail>& theirs);
    void Insert(const OV::Ref<ClientMail>& mail);
    void RemoveWhatOthersDeleted(const MailList& theirs);
    template <class Chosen>
    std::size_t RemoveFromList(Chosen isChosen);

    const IO::Location file_;
    const IO::Location lockFile_;
    MailList mails_;
    MailFile::UnknownRecords unknown_;
    MailList arrivals_;
    MailChanges changes_;
    std::unique_ptr<Index> index_;
    std::optional<IO::ChangeStamp> stamp_;
    bool hasNews_ = false;
    bool isChanged_ = false;
    int unsavedMarks_ = 0;
    Clock::time_point lastWrite_;
    Clock::duration lastWriteCost_{};
};

}  // namespace SYC
