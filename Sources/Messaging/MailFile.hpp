#pragma once

#include "IO/File.hpp"
#include "Messaging/ClientMail.hpp"
#include "OVRoot/Export.hpp"

#include <optional>

/// "Mails.dat" and "Outbox.dat": a count and that many mails.
namespace SYC::MailFile {

/// The file of the box, in the cache folder.
inline constexpr OV::UniStringView MailsName = u"Mails.dat";
/// The file of the outbox, in the cache folder.
inline constexpr OV::UniStringView OutboxName = u"Outbox.dat";

/// Mails in shared ownership.
using MailList = OV::Array<OV::Ref<ClientMail>>;

/// What became of the reading.
enum class Outcome {
    Complete,
    Absent,
    /// A mail could not be read though it is of a known form; those before it could. Nothing behind
    /// it can be found again, so the caller keeps the file under another name before he writes this
    /// one anew.
    Damaged,
    /// All mails could be read and something follows them; to be kept likewise.
    LeftOver,
};

/// Mails that this process cannot read at all, as they stand in the file: of a newer version, or
/// behind something whose end cannot be told. Who writes the file keeps them.
struct UnknownRecords {
    std::uint32_t count = 0;  ///< of mails
    OV::String bytes;         ///< of all of them
};

/// What a file held.
struct Content {
    /// Those whose actions cannot be read are among them, see ClientMail::HasUnknownActions.
    MailList mails;
    /// What nobody here can read.
    UnknownRecords unknown;
    /// How the reading ended.
    Outcome outcome = Outcome::Complete;
    /// The error that ended the reading of a damaged file, otherwise 0.
    OV::ChannelStatus status = OV::ChannelOk;
    /// Of the file that was read; nothing for an absent one and for bytes.
    std::optional<IO::ChangeStamp> stamp;
    /// What a person should hear about the file; empty for nothing. It goes to the log when no lock
    /// is held any more.
    OV::UniString notice;
};

/// Reads what can be read. Memory grows with the file's size, whatever count it claims. Throws
/// IO::IOException when there is a file and the system does not give it, or it is no regular file
/// within the limit of its kind.
[[nodiscard]] SYC_API Content Read(const IO::Location& file);
/// The same of what stands in memory.
[[nodiscard]] SYC_API Content Decode(OV::StringView bytes);

/// As Read, for who holds the file's lock; when the file is damaged or something follows its mails,
/// keeps all of it under another name beside it, then replaces it by what could be read. The
/// outcome still tells.
[[nodiscard]] SYC_API Content ReadKeepingDamage(const IO::Location& file);
/// Logs the notice, if any.
SYC_API void LogNotice(const OV::UniString& notice);

/// Replaces the file as a whole, readable by its user alone, and returns its new stamp. What is
/// unknown stands behind the mails. Throws IO::IOException, or OV::ChannelException when an action
/// cannot be written; the file then stays as it was.
SYC_API IO::ChangeStamp Write(const IO::Location& file, const MailList& mails,
                              const UnknownRecords& unknown = {});
/// What Write would write.
[[nodiscard]] SYC_API OV::String Encode(const MailList& mails, const UnknownRecords& unknown = {});

}  // namespace SYC::MailFile
