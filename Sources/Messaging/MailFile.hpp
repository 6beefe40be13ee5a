#pragma once

#include "IO/File.hpp"
#include "Messaging/ClientMail.hpp"

#include <optional>

/// "Mails.dat" and "Outbox.dat": a count and that many mails.
namespace SYC::MailFile {

inline constexpr OV::UniStringView MailsName = u"Mails.dat";
inline constexpr OV::UniStringView OutboxName = u"Outbox.dat";

using MailList = OV::Array<OV::Ref<ClientMail>>;

enum class Outcome {
    Complete,
    Absent,
    /// A mail could not be read; those before it could. Nothing behind it can be found again, so
    /// the caller keeps the file under another name before he writes this one anew.
    Damaged,
    /// All mails could be read and something follows them; to be kept likewise.
    LeftOver,
};

struct Content {
    MailList mails;
    Outcome outcome = Outcome::Complete;
    /// The error that ended the reading of a damaged file, otherwise 0.
    OV::ChannelStatus status = OV::ChannelOk;
    /// Of the file that was read; nothing for an absent one and for bytes.
    std::optional<IO::ChangeStamp> stamp;
};

/// Reads what can be read. Memory grows with the file's size, whatever count it claims. Throws
/// IO::IOException when there is a file and the system does not give it.
[[nodiscard]] Content Read(const IO::Location& file);
[[nodiscard]] Content Decode(OV::StringView bytes);

/// As Read; when the file is damaged or something follows its mails, keeps all of it under another
/// name beside it, then replaces it by what could be read, and logs both. The outcome still tells.
[[nodiscard]] Content ReadKeepingDamage(const IO::Location& file);

/// Replaces the file as a whole, readable by its user alone, and returns its new stamp. Throws
/// IO::IOException, or OV::ChannelException when an action cannot be written; the file then stays
/// as it was.
IO::ChangeStamp Write(const IO::Location& file, const MailList& mails);
[[nodiscard]] OV::String Encode(const MailList& mails);

}  // namespace SYC::MailFile
