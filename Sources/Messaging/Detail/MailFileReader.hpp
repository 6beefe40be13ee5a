#pragma once

#include "Messaging/Detail/MailPlaces.hpp"
#include "Messaging/Detail/MailRecord.hpp"

namespace SYC {

/// What a file held, and where.
struct MailFileContent : MailFile::Content {
    /// None when not all mails could be read.
    std::shared_ptr<MailPlaces> places;
};

/// As MailFile::Read.
[[nodiscard]] MailFileContent ReadMailFile(const IO::Location& file);
/// What MailFile::ReadKeepingDamage does with a damaged file.
void KeepDamage(const IO::Location& file, MailFile::Content& content);

/// Reads a mail file past what this process does not know.
///
/// Neither a mail nor an action says how long it is. One that cannot be read ends where another
/// mail begins, or with the file. Its data may look like a mail themselves, so of all the ways to
/// part the rest of the file into as many mails as its count says, the one with the most readable
/// mails is taken.
class MailFileReader {
public:
    explicit MailFileReader(OV::StringView bytes) : bytes_(bytes) {}
    [[nodiscard]] MailFileContent Read();

private:
    /// The rest of the file from one place on, for one number of places that are no mails.
    struct Parting {
        std::int64_t readable = -1;  ///< how many mails; less than none when it cannot be done
        std::size_t next = 0;        ///< the place where the following mail begins
    };

    void ReadRest(MailRecord first);
    void FindPlaces();
    [[nodiscard]] bool IsFeasible() const noexcept;
    void PartFrom(std::size_t place);
    [[nodiscard]] bool CanEnd(std::size_t place, std::size_t end);
    [[nodiscard]] OV::StringView Slice(std::size_t place, std::size_t end) const;
    [[nodiscard]] Parting& At(std::size_t place, std::size_t spare);
    void TakeBestParting();
    void KeepRest(const MailRecord& first);

    const OV::StringView bytes_;
    std::size_t at_ = 0;
    std::uint32_t remaining_ = 0;
    /// Where mails may begin, and last the end of the file.
    OV::Array<std::size_t> places_;
    OV::Array<MailRecord> records_;
    /// How many of the places are no mails.
    std::size_t spare_ = 0;
    OV::Array<Parting> partings_;
    MailFileContent content_;
};

}  // namespace SYC
