#pragma once

#include "Messaging/Detail/MailChangeFile.hpp"

#include <functional>
#include <optional>

namespace SYC {

/// What others changed in "Mails.dat" since this process last saw it.
struct MailNews {
    MailFile::MailList mails;  ///< new ones, and those with a mark that ours lack
    OV::Array<OV::UniString> deleted;

    [[nodiscard]] bool IsEmpty() const noexcept { return mails.empty() && deleted.empty(); }
};

/// "Mails.dat" as this process last read or wrote it. One thread at a time, any.
class MailBoxFile {
public:
    explicit MailBoxFile(const IO::Location& folder);

    /// All that the file holds; a damaged one is kept under another name. Throws IO::IOException.
    [[nodiscard]] MailSnapshot::List Open();
    /// Of the server's changes of flags the last that the mails of Open show; 0 when nobody knows.
    [[nodiscard]] std::uint64_t GetChange() const noexcept { return change_; }
    /// What others changed; nothing when the file is as it was. A damaged one is left to the next
    /// Write. Throws IO::IOException.
    [[nodiscard]] std::optional<MailNews> Follow();

    /// Given what others changed, tells what to write then; null for nothing yet. It runs while the
    /// file is held against other processes.
    using Merge = std::function<const MailSnapshot*(MailNews news)>;
    /// Puts the mails in place of the file, which keeps what nobody here can read, and their change
    /// beside it; of a large file only what has changed is written, where it stands. `merge` is
    /// asked only when others changed it. False when nothing was written. Throws IO::IOException;
    /// the file is then as it was, or has some of what is new.
    bool Write(const MailSnapshot& mails, const Merge& merge);

    /// Lists that are not needed here any more, with which mails may be destroyed.
    [[nodiscard]] std::vector<MailSnapshot::List> TakeRetired() noexcept
    {
        return std::exchange(retired_, {});
    }

private:
    /// For who holds the lock.
    [[nodiscard]] MailFileContent Read() const;
    [[nodiscard]] MailNews TakeOver(MailFileContent content);
    void Put(const MailSnapshot& mails);
    /// False when the file is to be replaced.
    [[nodiscard]] bool Amend(const MailSnapshot& mails);
    void SetKnown(MailSnapshot::List list);

    const IO::Location file_;
    const IO::Location lockFile_;
    const MailChangeFile changeFile_;
    std::uint64_t change_ = 0;
    /// The mails that the file is known to have.
    MailSnapshot::List known_ = std::make_shared<const MailFile::MailList>();
    std::vector<MailSnapshot::List> retired_;
    MailFile::UnknownRecords unknown_;
    std::optional<IO::ChangeStamp> stamp_;
    /// Those of the mails that are known, in a file that may be changed where it stands.
    std::shared_ptr<MailPlaces> places_;
};

}  // namespace SYC
