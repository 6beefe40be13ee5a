#pragma once

#include "Limits.hpp"
#include "Store/Database.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Nexar {

/// A mail on its way in. Header and body are the JSON text and the base64 text of the answers to
/// come.
struct OutgoingMail {
    std::string projectId;
    std::string senderId;
    std::string key;                      ///< the sender's; he never uses it for another mail
    std::vector<std::string> recipients;  ///< login names, in any ASCII letter case
    std::string header;
    std::string body;
};

struct Delivery {
    std::string id;
    bool duplicate = false;           ///< it was delivered before; nothing happened now
    std::set<std::string> concerned;  ///< user ids of recipients and sender; none for a duplicate
};

/// Whose entries in which project.
struct MailBox {
    std::string projectId;
    std::string userId;
};

/// Where a mail stands in the order of its project.
struct MailPlace {
    std::int64_t time = 0;    ///< seconds since 1970-01-01 UTC
    std::int64_t number = 0;  ///< order of delivery
};

enum class MailFlag { Read, Historical };
using FlagPage = Syncra::Protocol::FlagPageOf<std::string>;
using FlagEntries = decltype(FlagPage::entries);

/// Mails of the projects: one text for everybody, one entry for each user whom it concerns.
class MailStore {
public:
    MailStore(Database& database, const Limits& limits) : database_(database), limits_(limits) {}

    /// To every recipient and the sender's copy, or to nobody. A key that was delivered once gives
    /// the first answer again. Throws Refusal for a recipient who is no member, and
    /// when a box or the project is full.
    [[nodiscard]] Delivery Deliver(const OutgoingMail& mail);

    /// A page of the box from a place on, oldest first, as JSON: at most 1000 mails, and of more
    /// than one at most 8 MiB. Its cursor is the place of the next page, "time-number".
    /// The last page names which mails got a flag behind the change `after`, when the server knows
    /// that one; and each how many mails the box had before.
    [[nodiscard]] std::string PageJson(const MailBox& box, const MailPlace& from,
                                       std::uint64_t after);

    /// Flags that changed after a change number, with the newest number. All of them for 0 and for
    /// a number that was never given.
    [[nodiscard]] FlagPage Flags(const MailBox& box, MailFlag flag, std::uint64_t after);
    /// Together or not at all; passes over mails that the box does not hold.
    void SetFlags(const MailBox& box, MailFlag flag, const FlagEntries& entries);
    void Delete(const MailBox& box, const std::vector<std::string>& ids);
    /// Of these ids those that were delivered in the project once and are not in the box: what a
    /// client may drop.
    [[nodiscard]] std::vector<std::string> Deleted(const MailBox& box,
                                                   const OV::Array<OV::UniString>& ids);

private:
    /// The ids of the mails that got the flag behind that change, as JSON texts with commas.
    [[nodiscard]] std::string IdsWith(const MailBox& box, MailFlag flag, std::uint64_t after);
    [[nodiscard]] std::int64_t CountMails(const MailBox& box);
    /// What a change of a project's mail gets: a time that is never before the last one's, and the
    /// next change number.
    struct Stamp {
        std::int64_t time;
        std::int64_t change;
    };
    [[nodiscard]] std::string FindDelivered(const OutgoingMail& mail);
    [[nodiscard]] std::set<std::string> FindRecipients(const OutgoingMail& mail);
    [[nodiscard]] std::int64_t AddMail(const OutgoingMail& mail, const std::string& id,
                                       std::int64_t time);
    void RequireRoom(const OutgoingMail& mail, const std::set<std::string>& users);
    void AddKey(const OutgoingMail& mail, const std::string& id);
    void AddEntry(const MailBox& box, const MailPlace& place, bool isCopy, std::int64_t change);
    [[nodiscard]] std::int64_t LastChange(const std::string& projectId);
    [[nodiscard]] Stamp NextStamp(const std::string& projectId);

    Database& database_;
    const Limits& limits_;
};

}  // namespace Nexar
