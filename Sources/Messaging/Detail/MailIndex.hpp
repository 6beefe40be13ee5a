#pragma once

#include "Messaging/ClientMail.hpp"
#include "Messaging/MailView.hpp"
#include "OVRoot/PagedArray.hpp"

#include <array>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

namespace SYC {

/// The mails of a list model by number, with what its views ask of them close together. Numbers are
/// given in order and not used again. One thread at a time.
class MailIndex {
public:
    using Slot = std::uint32_t;
    /// A copy is a snapshot at the cost of its pages; a mail that has gone is an empty holder.
    using Mails = OV::PagedArray<OV::Ref<ClientMail>>;
    using Counts = std::array<MailCounts, MailViewCount>;

    /// `isOut`: it waits in the outbox.
    Slot Add(const OV::Ref<ClientMail>& mail, bool isOut);
    /// Takes over the marks of the mail.
    void Update(Slot slot);
    void Remove(Slot slot);
    void SetMatching(Slot slot, bool isMatching);

    [[nodiscard]] std::optional<Slot> Find(const ClientMail& mail) const;
    [[nodiscard]] const OV::Ref<ClientMail>& operator[](Slot slot) const { return mails_[slot]; }
    [[nodiscard]] const Mails& GetMails() const noexcept { return mails_; }
    /// Including those that have gone.
    [[nodiscard]] Slot Size() const noexcept { return static_cast<Slot>(mails_.size()); }
    [[nodiscard]] bool HasGone(Slot slot) const noexcept { return (states_[slot] & Gone) != 0; }
    [[nodiscard]] bool IsMatching(Slot slot) const noexcept { return (states_[slot] & Match) != 0; }
    /// Whether the mail is of the view and matches.
    [[nodiscard]] bool IsShown(Slot slot, MailView view) const noexcept;
    [[nodiscard]] const Counts& GetCounts() const noexcept { return counts_; }

    /// Calls `found(slot)` for each mail that answers the one with that id.
    void ForAnswers(const OV::UniString& id, const std::function<void(Slot)>& found) const;

private:
    using State = std::uint8_t;
    enum : State {
        Read = 1,
        Historical = 2,
        Copy = 4,
        Out = 8,
        Request = 16,
        Match = 32,
        Gone = 64,
    };
    struct ViewRule;
    static const std::array<ViewRule, MailViewCount> Views;
    [[nodiscard]] static State StateOf(const ClientMail& mail) noexcept;
    void Count(State state, std::ptrdiff_t step) noexcept;

    Mails mails_;
    std::vector<State> states_;
    std::unordered_map<const ClientMail*, Slot> slots_;
    /// By the hash of the parent's id: the ids themselves would cost more than the rest.
    std::unordered_multimap<std::size_t, Slot> answers_;
    Counts counts_{};
};

}  // namespace SYC
