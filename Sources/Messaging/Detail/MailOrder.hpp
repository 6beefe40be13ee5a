#pragma once

#include "Messaging/Detail/MailIndex.hpp"

#include <atomic>
#include <compare>
#include <memory>

namespace SYC {

/// The full names of the members by their login names.
using MemberNames = OV::HashTable<OV::UniString, OV::UniString>;

/// The sender's name as the members tell it, or as the mail does; of a sender without one his login
/// name.
[[nodiscard]] const OV::UniString& SenderNameOf(const ClientMail& mail, const MemberNames& members);

/// An order of mails, the same on every thread: it asks nothing of them that changes. The first
/// place is the last one shown when it descends.
struct MailOrder {
    MailSort sort = MailSort::Time;
    bool isDescending = true;
    std::shared_ptr<const MemberNames> names;  ///< for the order by sender

    struct Place {
        OV::String text;
        std::int64_t number = 0;
        MailIndex::Slot slot = 0;

        friend auto operator<=>(const Place&, const Place&) = default;
    };
    [[nodiscard]] Place PlaceOf(const ClientMail& mail, MailIndex::Slot slot) const;
    /// All that are there; some or none once `isDropped`.
    [[nodiscard]] std::vector<MailIndex::Slot> Sort(const MailIndex::Mails& mails,
                                                    const std::atomic<bool>& isDropped) const;

    friend bool operator==(const MailOrder&, const MailOrder&) = default;
};

}  // namespace SYC
