#pragma once

#include "IO/File.hpp"
#include "Messaging/Detail/MailSnapshot.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace SYC {

/// Where each mail of a mail file stands in it and what it shows there, so that what became of the
/// mails can be written without the rest of the file.
class MailPlaces {
public:
    /// The next mail of the file. `record` are its bytes there, `actions` those of its actions.
    void Add(const ClientMail& mail, OV::StringView record, OV::StringView actions);

    /// Whether marks stand at the same places in the records of both.
    [[nodiscard]] static bool AreAlike(const ClientMail& one, const ClientMail& other);

    /// What makes the file one with other mails.
    struct Change {
        OV::String added;  ///< behind all that the file holds
        std::vector<IO::File::Patch> patches;
    };
    /// What makes the file, which holds `before`, one with the mails of `now`; the places are then
    /// those of that file. Nothing, and the places are worth nothing any more, when that is no
    /// small change: mails went or came in between, many have other marks, or actions are other
    /// ones.
    [[nodiscard]] std::optional<Change> Turn(const MailFile::MailList& before,
                                             const MailSnapshot& now);

    /// Of the file, in bytes.
    [[nodiscard]] std::uint64_t GetEnd() const noexcept { return end_; }

private:
    /// A mail that carries some.
    struct Carrier {
        std::size_t mail;
        std::size_t actions;  ///< their bytes, as a hash
    };
    [[nodiscard]] bool HasActionsOf(const MailSnapshot& now) const;

    std::vector<std::uint32_t> sizes_;
    std::vector<std::uint8_t> marks_;
    std::vector<Carrier> carriers_;
    std::uint64_t end_ = sizeof(std::uint32_t);
};

}  // namespace SYC
