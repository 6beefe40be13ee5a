#include "Messaging/Detail/MailOrder.hpp"

#include "OVRoot/Collation.hpp"

#include <algorithm>

namespace SYC {

namespace {

/// Of a subject, which may be a whole book in one line.
constexpr std::size_t ComparedUnits = 100;

OV::String CollationKeyOf(OV::UniStringView text)
{
    return OV::Collation::OfUser().KeyOf(OV::ToUtf8(text.substr(0, ComparedUnits)));
}

}  // namespace

const OV::UniString& SenderNameOf(const ClientMail& mail, const MemberNames& members)
{
    const auto member = members.find(mail.GetSender());
    if (member != members.end() && !member->second.empty())
        return member->second;
    return mail.GetSenderFullName().empty() ? mail.GetSender() : mail.GetSenderFullName();
}

MailOrder::Place MailOrder::PlaceOf(const ClientMail& mail, MailIndex::Slot slot) const
{
    // So that the newest is shown first in either direction.
    const std::int64_t time = isDescending ? mail.GetTime() : -std::int64_t{mail.GetTime()};
    switch (sort) {
    case MailSort::Time:
        return {{}, mail.GetTime(), slot};
    case MailSort::Sender:
        return {CollationKeyOf(SenderNameOf(mail, *names)), time, slot};
    case MailSort::Importance:
        return {
            {}, (std::int64_t{static_cast<std::int32_t>(mail.GetImportance())} << 40) + time, slot};
    case MailSort::Subject:
        return {CollationKeyOf(mail.GetSubject()), time, slot};
    }
    return {{}, 0, slot};
}

std::vector<MailIndex::Slot> MailOrder::Sort(const MailIndex::Mails& mails,
                                             const std::atomic<bool>& isDropped) const
{
    std::vector<Place> places;
    places.reserve(mails.size());
    MailIndex::Slot slot = 0;
    for (const auto& mail : mails) {
        if (isDropped)
            return {};
        if (mail)
            places.push_back(PlaceOf(*mail, slot));
        ++slot;
    }
    std::sort(places.begin(), places.end());
    std::vector<MailIndex::Slot> sorted;
    sorted.reserve(places.size());
    for (const auto& place : places)
        sorted.push_back(place.slot);
    return sorted;
}

}  // namespace SYC
