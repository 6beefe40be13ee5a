#include "Messaging/Detail/MailPlaces.hpp"

#include "OVRoot/MemoryChannels.hpp"

#include <functional>

namespace SYC {

namespace {

/// The marks of a mail as bits.
enum Mark : std::uint8_t { Read = 1, Copy = 2, Out = 4, Modify = 8, Historical = 16 };
constexpr std::uint8_t MarksInFront = Read | Copy | Out | Modify;

/// Of all mails at most one in so many is worth a visit of its own.
constexpr std::size_t MailsForAPatch = 8;
constexpr std::size_t FewPatches = 64;

std::uint8_t MarksOf(const ClientMail& mail)
{
    return static_cast<std::uint8_t>((mail.IsRead() ? Read : 0) | (mail.IsCopy() ? Copy : 0) |
                                     (mail.IsOut() ? Out : 0) | (mail.IsModify() ? Modify : 0) |
                                     (mail.IsHistorical() ? Historical : 0));
}

std::size_t BytesOf(const OV::UniString& text)
{
    return sizeof(std::uint32_t) + sizeof(char16_t) * text.size();
}

/// Behind the class frame and the id stand four marks, each a byte.
std::size_t FrontMarksAt(const ClientMail& mail)
{
    constexpr std::size_t frame = sizeof(std::uint32_t) + 8 + 2 * sizeof(std::uint16_t);
    return frame + BytesOf(mail.GetId());
}

/// The last one stands before the parent's id, which ends the mail.
std::size_t LastMarkAt(const ClientMail& mail, std::size_t size)
{
    return size - BytesOf(mail.GetParentMailId()) - 1;
}

OV::String FrontMarks(std::uint8_t marks)
{
    OV::String bytes;
    for (const Mark mark : {Read, Copy, Out, Modify})
        bytes += (marks & mark) != 0 ? '\1' : '\0';
    return bytes;
}

std::uint8_t MarksIn(const ClientMail& mail, OV::StringView record)
{
    std::uint8_t marks = record[LastMarkAt(mail, record.size())] != 0 ? Historical : 0;
    std::size_t at = FrontMarksAt(mail);
    for (const Mark mark : {Read, Copy, Out, Modify})
        marks |= record[at++] != 0 ? mark : 0;
    return marks;
}

std::size_t HashOf(OV::StringView bytes)
{
    return std::hash<OV::StringView>()(bytes);
}

}  // namespace

void MailPlaces::Add(const ClientMail& mail, OV::StringView record, OV::StringView actions)
{
    if (!actions.empty())
        carriers_.push_back({sizes_.size(), HashOf(actions)});
    // What was written shows the marks of its moment, which may be others by now.
    marks_.push_back(MarksIn(mail, record));
    sizes_.push_back(static_cast<std::uint32_t>(record.size()));
    end_ += record.size();
}

bool MailPlaces::AreAlike(const ClientMail& one, const ClientMail& other)
{
    return BytesOf(one.GetId()) == BytesOf(other.GetId()) &&
           BytesOf(one.GetParentMailId()) == BytesOf(other.GetParentMailId());
}

std::optional<MailPlaces::Change> MailPlaces::Turn(const MailFile::MailList& before,
                                                   const MailSnapshot& now)
{
    const MailFile::MailList& mails = *now.GetList();
    if (before.size() != sizes_.size() || mails.size() < before.size() || !HasActionsOf(now))
        return std::nullopt;
    Change change;
    const std::size_t most = FewPatches + before.size() / MailsForAPatch;
    std::uint64_t at = sizeof(std::uint32_t);
    for (std::size_t place = 0; place < before.size(); at += sizes_[place++]) {
        const ClientMail& mail = *mails[place];
        if (&mail != before[place].Get() || change.patches.size() > most)
            return std::nullopt;
        const std::uint8_t marks = MarksOf(mail);
        const auto changed = static_cast<std::uint8_t>(marks ^ std::exchange(marks_[place], marks));
        if ((changed & MarksInFront) != 0)
            change.patches.push_back({at + FrontMarksAt(mail), FrontMarks(marks)});
        if ((changed & Historical) != 0)
            change.patches.push_back({at + LastMarkAt(mail, sizes_[place]),
                                      OV::String(1, (marks & Historical) != 0 ? '\1' : '\0')});
    }
    if (mails.size() == before.size())
        return change;
    change.added = now.EncodeFrom(before.size(), *this);
    OV::MemoryOChannel count;
    (void)count.Write(static_cast<std::uint32_t>(mails.size()));
    change.patches.push_back({0, count.TakeBytes()});
    return change;
}

bool MailPlaces::HasActionsOf(const MailSnapshot& now) const
{
    auto carrier = carriers_.begin();
    for (const auto& [place, sealed] : now.GetActions()) {
        if (place >= sizes_.size())
            break;
        if (carrier == carriers_.end() || carrier->mail != place ||
            carrier->actions != HashOf(sealed.unknown->bytes))
            return false;
        ++carrier;
    }
    return carrier == carriers_.end();
}

}  // namespace SYC
