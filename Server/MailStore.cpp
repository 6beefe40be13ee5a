#include "MailStore.hpp"

#include "Refusal.hpp"

#include "OVRoot/Clock.hpp"
#include "OVRoot/Guid.hpp"

namespace Nexar {

using Syncra::Protocol::ErrorCode;

namespace {

constexpr std::size_t MaximumPageMails = 1000;
constexpr std::size_t MaximumPageBytes = 8u << 20;
/// What stands around header and body in a page, and more.
constexpr std::size_t BytesAroundMail = 256;

/// A mail as its row holds it. Header, body and ids are JSON already: a page of them is glued, not
/// parsed and written again.
struct MailRow {
    Syncra::Protocol::PlainJsonText mailId;
    bool read;
    bool copy;
    bool historical;
    std::int64_t timeStamp;
    Syncra::Protocol::RawJson header;
    Syncra::Protocol::PlainJsonText bodyData;
};

template <class Visitor>
void Describe(Visitor& v, MailRow& mail)
{
    DescribeMail(v, mail);
}

MailRow ReadMail(const Statement& row)
{
    return {{row.View(1)}, row.Number(4) != 0, row.Number(3) != 0, row.Number(5) != 0,
            row.Number(2), {row.View(6)},      {row.View(7)}};
}

struct FlagStatements {
    const char* changed;
    const char* set;
};

constexpr FlagStatements StatementsOf(MailFlag flag)
{
    // The larger of the two changes is what the index holds.
    if (flag == MailFlag::Read)
        return {"SELECT m.id, e.is_read FROM mail_entries e JOIN mails m ON m.number = e.mail "
                "WHERE e.user_id = $1 AND e.project_id = $2 "
                "AND max(e.read_change, e.historical_change) > $3 AND e.read_change > $3",
                "UPDATE mail_entries SET is_read = $4, read_change = $5 "
                "WHERE user_id = $1 AND project_id = $2 AND (time_stamp, mail) = "
                "(SELECT time_stamp, number FROM mails WHERE id = $3) AND is_read <> $4"};
    return {"SELECT m.id, e.is_historical FROM mail_entries e JOIN mails m ON m.number = e.mail "
            "WHERE e.user_id = $1 AND e.project_id = $2 "
            "AND max(e.read_change, e.historical_change) > $3 AND e.historical_change > $3",
            "UPDATE mail_entries SET is_historical = $4, historical_change = $5 "
            "WHERE user_id = $1 AND project_id = $2 AND (time_stamp, mail) = "
            "(SELECT time_stamp, number FROM mails WHERE id = $3) AND is_historical <> $4"};
}

}  // namespace

Delivery MailStore::Deliver(const OutgoingMail& mail)
{
    Transaction transaction(database_);
    Delivery delivery;
    // Before anything is checked: what made sense then may not make sense now.
    delivery.id = FindDelivered(mail);
    delivery.duplicate = !delivery.id.empty();
    if (delivery.duplicate)
        return delivery;
    delivery.concerned = FindRecipients(mail);
    const bool isToHimself = !delivery.concerned.insert(mail.senderId).second;
    RequireRoom(mail, delivery.concerned);
    delivery.id = OV::ToUtf8(OV::Guid::Generate().ToText());
    const auto stamp = NextStamp(mail.projectId);
    const MailPlace place{stamp.time, AddMail(mail, delivery.id, stamp.time)};
    AddKey(mail, delivery.id);
    for (const auto& userId : delivery.concerned)
        AddEntry({mail.projectId, userId}, place, userId == mail.senderId && !isToHimself,
                 stamp.change);
    transaction.Commit();
    return delivery;
}

std::string MailStore::FindDelivered(const OutgoingMail& mail)
{
    auto query = database_.Prepare(
        "SELECT mail_id FROM mail_keys WHERE project_id = $1 AND sender_id = $2 AND key = $3");
    query.Bind(1, mail.projectId).Bind(2, mail.senderId).Bind(3, mail.key);
    return query.Step() ? query.Text(0) : std::string();
}

std::set<std::string> MailStore::FindRecipients(const OutgoingMail& mail)
{
    std::set<std::string> found;
    for (const auto& login : mail.recipients) {
        // Two accounts may differ in letter case alone; the exact one is meant then. The names
        // first: a project has many members, and a mail few recipients.
        auto query = database_.Prepare("SELECT u.id FROM users u CROSS JOIN members m "
                                       "WHERE lower(u.login) = lower($1) AND m.user_id = u.id "
                                       "AND m.project_id = $2 "
                                       "ORDER BY u.login = $1 DESC");
        if (!query.Bind(1, login).Bind(2, mail.projectId).Step())
            throw Refusal(ErrorCode::NotFound,
                          "\"" + login + "\" is no member of this project; nobody got the mail.");
        found.insert(query.Text(0));
    }
    return found;
}

void MailStore::RequireRoom(const OutgoingMail& mail, const std::set<std::string>& users)
{
    const auto refuse = [](const std::string& what) {
        throw Refusal(ErrorCode::TooLarge, what + " Nobody got the mail.");
    };
    auto project = database_.Prepare("SELECT mail_bytes FROM projects WHERE id = $1");
    if (project.Bind(1, mail.projectId).Step() &&
        static_cast<std::uint64_t>(project.Number(0)) + mail.header.size() + mail.body.size() >
            limits_.mailBytesOfProject)
        refuse("The mails of this project take all the room that they may have; delete some.");
    for (const auto& userId : users) {
        auto box = database_.Prepare("SELECT m.mails, u.login FROM members m JOIN users u "
                                     "ON u.id = m.user_id WHERE project_id = $1 AND user_id = $2");
        if (box.Bind(1, mail.projectId).Bind(2, userId).Step() &&
            static_cast<std::size_t>(box.Number(0)) >= limits_.mailsOfBox)
            refuse("The box of \"" + box.Text(1) + "\" is full; he must delete mails.");
    }
}

MailStore::Stamp MailStore::NextStamp(const std::string& projectId)
{
    // The clock may go back, the times of a project may not: clients ask for "since".
    auto update = database_.Prepare("UPDATE projects SET last_mail_time = max(last_mail_time, $2), "
                                    "last_mail_change = last_mail_change + 1 WHERE id = $1 "
                                    "RETURNING last_mail_time, last_mail_change");
    update.Bind(1, projectId).Bind(2, std::int64_t{OV::Clock::Current().Now()}).Step();
    const Stamp stamp{update.Number(0), update.Number(1)};
    update.Run();
    return stamp;
}

std::int64_t MailStore::AddMail(const OutgoingMail& mail, const std::string& id, std::int64_t time)
{
    auto insert =
        database_.Prepare("INSERT INTO mails (id, project_id, time_stamp, header, body, size) "
                          "VALUES ($1, $2, $3, $4, $5, $6) RETURNING number");
    insert.Bind(1, id)
        .Bind(2, mail.projectId)
        .Bind(3, time)
        .Bind(4, mail.header)
        .Bind(5, mail.body)
        .Bind(6, static_cast<std::int64_t>(mail.header.size() + mail.body.size()))
        .Step();
    const std::int64_t number = insert.Number(0);
    insert.Run();
    return number;
}

void MailStore::AddKey(const OutgoingMail& mail, const std::string& id)
{
    database_
        .Prepare("INSERT INTO mail_keys (project_id, sender_id, key, mail_id, time) "
                 "VALUES ($1, $2, $3, $4, $5)")
        .Bind(1, mail.projectId)
        .Bind(2, mail.senderId)
        .Bind(3, mail.key)
        .Bind(4, id)
        .Bind(5, std::int64_t{OV::Clock::Current().Now()})
        .Run();
}

void MailStore::AddEntry(const MailBox& box, const MailPlace& place, bool isCopy,
                         std::int64_t change)
{
    database_
        .Prepare("INSERT INTO mail_entries (user_id, project_id, time_stamp, mail, is_copy, "
                 "is_read, read_change, historical_change) "
                 "VALUES ($1, $2, $3, $4, $5, $5, $6, $6)")
        .Bind(1, box.userId)
        .Bind(2, box.projectId)
        .Bind(3, place.time)
        .Bind(4, place.number)
        .Bind(5, std::int64_t{isCopy})
        .Bind(6, change)
        .Run();
}

std::string MailStore::PageJson(const MailBox& box, const MailPlace& from, std::uint64_t after)
{
    // Read first: who compares it with the mails he has then finds too few of them, never too many.
    const auto total = CountMails(box);
    const auto change = LastChange(box.projectId);
    auto query = database_.Prepare(
        "SELECT e.mail, m.id, e.time_stamp, e.is_copy, e.is_read, e.is_historical, m.header, "
        "m.body FROM mail_entries e JOIN mails m ON m.number = e.mail "
        "WHERE e.user_id = $1 AND e.project_id = $2 AND (e.time_stamp, e.mail) >= ($3, $4) "
        "ORDER BY e.time_stamp, e.mail /* by parts */");
    query.Bind(1, box.userId).Bind(2, box.projectId).Bind(3, from.time).Bind(4, from.number);
    std::string mails;
    std::string cursor;
    for (std::size_t count = 0; query.Step(); ++count) {
        const auto size = query.View(6).size() + query.View(7).size() + BytesAroundMail;
        // The first goes out whatever its size, or nobody would get past it.
        if (count == MaximumPageMails || (count > 0 && mails.size() + size > MaximumPageBytes)) {
            cursor = query.Text(2) + '-' + query.Text(0);
            break;
        }
        mails += count > 0 ? "," : "";
        mails += Syncra::Protocol::WriteJson(ReadMail(query), size);
    }
    // First what a client asks for the next page with, while it reads this one.
    const bool isFlagged =
        cursor.empty() && after > 0 && after <= static_cast<std::uint64_t>(change);
    return "{\"cursor\":\"" + cursor + "\",\"change\":" + std::to_string(change) +
           ",\"count\":" + std::to_string(total) +
           (isFlagged ? ",\"flags\":{\"read\":[" + IdsWith(box, MailFlag::Read, after) +
                            "],\"historical\":[" + IdsWith(box, MailFlag::Historical, after) + "]}"
                      : "") +
           ",\"mails\":[" + mails + "]}";
}

std::string MailStore::IdsWith(const MailBox& box, MailFlag flag, std::uint64_t after)
{
    auto query = database_.Prepare(StatementsOf(flag).changed);
    query.Bind(1, box.userId).Bind(2, box.projectId).Bind(3, static_cast<std::int64_t>(after));
    std::string ids;
    while (query.Step())
        if (query.Number(1) != 0)
            ids.append(ids.empty() ? "\"" : ",\"").append(query.View(0)).append("\"");
    return ids;
}

std::int64_t MailStore::CountMails(const MailBox& box)
{
    auto query =
        database_.Prepare("SELECT mails FROM members WHERE project_id = $1 AND user_id = $2");
    return query.Bind(1, box.projectId).Bind(2, box.userId).Step() ? query.Number(0) : 0;
}

FlagPage MailStore::Flags(const MailBox& box, MailFlag flag, std::uint64_t after)
{
    FlagPage page;
    // Read first: what another process changes in between is told once more, not forgotten.
    page.change = static_cast<std::uint64_t>(LastChange(box.projectId));
    auto query = database_.Prepare(StatementsOf(flag).changed);
    query.Bind(1, box.userId)
        .Bind(2, box.projectId)
        .Bind(3, after <= page.change ? static_cast<std::int64_t>(after) : 0);
    while (query.Step())
        page.entries.emplace_back(query.View(0), query.Number(1) != 0);
    return page;
}

void MailStore::SetFlags(const MailBox& box, MailFlag flag, const FlagEntries& entries)
{
    Transaction transaction(database_);
    const auto change = NextStamp(box.projectId).change;
    auto update = database_.Prepare(StatementsOf(flag).set);
    update.Bind(1, box.userId).Bind(2, box.projectId).Bind(5, change);
    for (const auto& [id, value] : entries) {
        update.Bind(3, id).Bind(4, std::int64_t{value}).Run();
        update.Again();
    }
    transaction.Commit();
}

void MailStore::Delete(const MailBox& box, const std::vector<std::string>& ids)
{
    Transaction transaction(database_);
    auto remove = database_.Prepare(
        "DELETE FROM mail_entries WHERE user_id = $1 AND project_id = $2 "
        "AND (time_stamp, mail) = (SELECT time_stamp, number FROM mails WHERE id = $3)");
    remove.Bind(1, box.userId).Bind(2, box.projectId);
    for (const auto& id : ids) {
        remove.Bind(3, id).Run();
        remove.Again();
    }
    transaction.Commit();
}

std::vector<std::string> MailStore::Deleted(const MailBox& box, const OV::Array<OV::UniString>& ids)
{
    auto query = database_.Prepare(
        "SELECT mail_id FROM mail_keys WHERE project_id || '' = $1 "
        "AND mail_id IN (SELECT value FROM json_each($3)) AND NOT EXISTS "
        "(SELECT 1 FROM mail_entries JOIN mails ON number = mail WHERE id = mail_id "
        "AND user_id = $2)");
    query.Bind(1, box.projectId).Bind(2, box.userId).Bind(3, Syncra::Protocol::WriteJson(ids));
    std::vector<std::string> deleted;
    while (query.Step())
        deleted.push_back(query.Text(0));
    return deleted;
}

std::int64_t MailStore::LastChange(const std::string& projectId)
{
    auto query = database_.Prepare("SELECT last_mail_change FROM projects WHERE id = $1");
    return query.Bind(1, projectId).Step() ? query.Number(0) : 0;
}

}  // namespace Nexar
