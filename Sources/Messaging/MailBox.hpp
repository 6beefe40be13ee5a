#pragma once

#include "Messaging/MailChanges.hpp"
#include "Messaging/MailFile.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"

#include <chrono>
#include <exception>
#include <functional>
#include <memory>

namespace SYC {

class MailBoxFile;
struct MailNews;

/// The received and sent mails in the order received, found by id, and their file "Mails.dat".
/// Several processes may share the file. Whoever writes it takes over what others changed since he
/// read it: their marks, the mails that they fetched, and those that they deleted; and keeps what
/// he cannot read. One thread at a time; a large box is made on another one than it is used on.
class SYC_API MailBox {
public:
    /// Mails in shared ownership: a mark shows in all lists that hold them.
    using MailList = MailFile::MailList;
    /// The clock of WasHereAt.
    using Clock = std::chrono::steady_clock;

    /// Reads the file in `folder`. A damaged one is kept under another name. Throws
    /// IO::IOException.
    explicit MailBox(const IO::Location& folder);
    ~MailBox();

    /// Takes `work` to another thread; when that has run it, `end` is run on the box's own. Either
    /// may come late or never, and what is left is done when the file is asked for next. False when
    /// there is no thread: `work` then runs here.
    using Background =
        std::function<bool(std::function<void()> work, const std::function<void()>& end)>;
    /// Told on the box's own thread when background work on the file has ended, with what failed.
    using Ended = std::function<void(const std::exception_ptr& failure)>;
    /// For what is written and followed soon; without it that happens at once.
    void SetBackground(Background background, Ended ended);

    /// In the order received. Holds until the box changes.
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
    /// Empties the list, not the file, and knows no change.
    void Clear();

    /// Of the server's changes of flags the last that all mails of the box show, as the file or who
    /// set it says; 0 when nobody knows.
    [[nodiscard]] std::uint64_t GetKnownChange() const noexcept { return knownChange_; }
    /// What goes beside the file with the next write. True when the file has none yet.
    bool SetKnownChange(std::uint64_t change) noexcept
    {
        return std::exchange(knownChange_, change) == 0 && change != 0;
    }

    /// Tells TakeChanges of a mark. Nothing for a mail that is not of the box.
    void NoteMarked(const ClientMail& mail);
    /// Notes that a mail was marked here alone, and begins to write the box with the sixth mark
    /// since it was last written; for a usual box it waits up to 40 ms for the end of that.
    void NoteMark() noexcept;
    /// Takes over what others wrote, then writes the box whole, unless what it waited for just did.
    /// Throws IO::IOException; the file then stays as it was.
    void Write();
    /// Begins to write the box in the background; behind what is under way there. A failure is
    /// logged.
    void StartWriting() noexcept;
    /// For a change that the server knows as well: begins to write when that costs little of the
    /// time, and otherwise leaves it to the next time.
    void WriteSoon() noexcept;
    /// Writes what is left before it returns. A failure is logged.
    void WriteRest() noexcept;
    /// Takes over what others wrote, before it returns. A failure is logged.
    void FollowOthers() noexcept;
    /// The same in the background, as seldom as WriteSoon writes.
    void FollowOthersSoon() noexcept;

    /// Whether the list has changes that its file has not, as far as is known.
    [[nodiscard]] bool IsFileBehind() const noexcept;

    /// Whether something of others was taken over since this was last asked.
    [[nodiscard]] bool TakeNews() noexcept { return std::exchange(hasNews_, false); }
    /// The mails that came that way since this was last asked, oldest first.
    [[nodiscard]] MailList TakeArrivals() noexcept { return std::exchange(arrivals_, {}); }

    /// What became of the list since this was last asked, whoever did it.
    [[nodiscard]] MailChanges TakeChanges() noexcept { return std::exchange(changes_, {}); }

    /// How many mails were taken out so far, by whomever.
    [[nodiscard]] std::uint64_t CountRemoved() const noexcept { return removed_; }

private:
    struct Index;
    /// One reading or writing of the file.
    struct Work;
    void Start(bool isWriting) noexcept;
    void End(const std::shared_ptr<Work>& work) noexcept;
    bool Settle();
    void GoOn() noexcept;
    [[nodiscard]] bool IsTimeToWrite() const noexcept;
    void Failed(const std::exception_ptr& failure) noexcept;
    void TakeOver(const MailNews& news);
    void TakeOverMail(const OV::Ref<ClientMail>& theirs);
    void Insert(const OV::Ref<ClientMail>& mail);
    void RemoveWhatOthersDeleted(const OV::Array<OV::UniString>& ids);
    template <class Chosen>
    std::size_t RemoveFromList(Chosen isChosen);

    /// Work that outlives the box has it as well.
    const std::shared_ptr<MailBoxFile> file_;
    MailList mails_;
    MailList arrivals_;
    MailChanges changes_;
    std::unique_ptr<Index> index_;
    std::uint64_t removed_ = 0;
    std::uint64_t knownChange_ = 0;
    bool hasNews_ = false;
    bool isChanged_ = false;
    int unsavedMarks_ = 0;
    Background background_;
    Ended ended_;
    std::shared_ptr<Work> work_;  ///< under way
    bool isWriteWanted_ = false;  ///< behind it
    Clock::time_point lastWrite_;
    Clock::duration lastWriteCost_{};
};

}  // namespace SYC
