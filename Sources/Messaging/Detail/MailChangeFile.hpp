#pragma once

#include "Messaging/Detail/MailFileReader.hpp"

namespace SYC {

/// "Mails.dat.change" beside a mail file: the server's last change of flags that all its mails
/// show. It counts for the state that it was written for and for no other: who does not know of it
/// may have replaced the file, or a crash come between the two.
class MailChangeFile {
public:
    explicit MailChangeFile(const IO::Location& mailFile);

    /// 0 when nobody knows.
    [[nodiscard]] std::uint64_t Read(const IO::ChangeStamp& stamp) const;
    /// False, and the change is not known any more, when it cannot be written.
    [[nodiscard]] bool Write(std::uint64_t change, const IO::ChangeStamp& stamp) const noexcept;
    /// Whether what follows the mails of the file is what a crash kept from being counted: behind
    /// all that the file had when its change was written, nothing but additions can stand.
    [[nodiscard]] bool IsUnfinished(const MailFileContent& content) const;

private:
    struct Entry {
        std::uint64_t change = 0;
        IO::ChangeStamp stamp;
    };
    /// Without a change when there is none that can be read.
    [[nodiscard]] Entry Read() const;

    const IO::Location file_;
};

}  // namespace SYC
