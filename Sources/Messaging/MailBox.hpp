#pragma once

#include "IO/File.hpp"
#include "Messaging/MailFile.hpp"

#include <chrono>
#include <memory>

namespace SYC {

/// The received and sent mails in the order received, found by id, and their file "Mails.dat".
/// One thread at a time.
class MailBox {
public:
    using MailList = MailFile::MailList;

    /// Reads the file in `folder`. A damaged one is kept under another name. Throws
    /// IO::IOException.
    explicit MailBox(const IO::Location& folder);
    ~MailBox();

    [[nodiscard]] const MailList& GetMails() const noexcept { return mails_; }
    /// Empty when there is none.
    [[nodiscard]] OV::Ref<ClientMail> Find(const OV::UniString& id) const;
    /// Of the last mail, which is the newest; 0 for an empty box.
    [[nodiscard]] std::int32_t LastRepositoryTime() const noexcept;

    /// False when a mail with that id is there already.
    bool Add(const OV::Ref<ClientMail>& mail);
    /// Whether any of them was there.
    bool Remove(const OV::PagedArray<OV::UniString>& ids);
    void Clear();

    /// Notes that a mail was marked here alone, and writes the box with the sixth mark since it was
    /// last written. Throws as Write does.
    void NoteMark();
    /// Writes the box whole. Marks that another process wrote meanwhile are taken over. Throws
    /// IO::IOException; the file then stays as it was.
    void Write();
    /// For a change that the server knows as well: writes when that costs little of the time, and
    /// otherwise leaves it to the next Write. A failure is logged.
    void WriteSoon() noexcept;
    /// Writes what WriteSoon left. A failure is logged.
    void WriteRest() noexcept;

private:
    struct Index;
    void TakeMarksOfOthers();

    const IO::Location file_;
    const IO::Location lockFile_;
    MailList mails_;
    std::unique_ptr<Index> index_;
    std::optional<IO::ChangeStamp> stamp_;
    bool isChanged_ = false;
    int unsavedMarks_ = 0;
    std::chrono::steady_clock::time_point lastWrite_;
    std::chrono::steady_clock::duration lastWriteCost_{};
};

}  // namespace SYC
