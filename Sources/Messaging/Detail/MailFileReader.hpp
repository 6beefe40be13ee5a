#pragma once

#include "Messaging/Detail/MailRecord.hpp"
#include "Messaging/MailFile.hpp"

namespace SYC {

/// Reads a mail file past what this process does not know.
///
/// Neither a mail nor an action says how long it is. One that cannot be read ends where another
/// mail begins, or with the file. Its data may look like a mail themselves, so of all the ways to
/// part the rest of the file into as many mails as its count says, the one with the most readable
/// mails is taken.
class MailFileReader {
public:
    explicit MailFileReader(OV::StringView bytes) : bytes_(bytes) {}
    [[nodiscard]] MailFile::Content Read();

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
    MailFile::Content content_;
};

}  // namespace SYC
