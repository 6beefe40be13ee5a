#include "Messaging/Detail/MailIndex.hpp"

namespace SYC {

/// A mail is of the view when of the bits in `asked` it has those in `wanted`.
struct MailIndex::ViewRule {
    State asked;
    State wanted;

    [[nodiscard]] bool Fits(State state) const noexcept { return (state & asked) == wanted; }
};

/// In the order of MailView.
const std::array<MailIndex::ViewRule, MailViewCount> MailIndex::Views{{
    {Gone | Out | Copy | Historical | Request, Request},
    {Gone | Out | Copy | Historical, 0},
    {Gone | Out | Copy, Copy},
    {Gone | Out | Copy | Historical, Historical},
    {Gone | Out, Out},
    {Gone | Out, 0},
}};

namespace {

std::size_t HashOf(const OV::UniString& id)
{
    return std::hash<OV::UniString>()(id);
}

}  // namespace

MailIndex::State MailIndex::StateOf(const ClientMail& mail) noexcept
{
    return static_cast<State>((mail.IsRead() ? Read : 0) | (mail.IsHistorical() ? Historical : 0) |
                              (mail.IsCopy() ? Copy : 0) |
                              (mail.GetType() == MailType::Request ? Request : 0));
}

void MailIndex::Count(State state, std::ptrdiff_t step) noexcept
{
    const bool isUnread = (state & (Read | Copy | Out)) == 0;
    for (std::size_t view = 0; view < MailViewCount; ++view) {
        if (!Views[view].Fits(state))
            continue;
        counts_[view].total += static_cast<std::size_t>(step);
        counts_[view].unread += isUnread ? static_cast<std::size_t>(step) : 0;
    }
}

MailIndex::Slot MailIndex::Add(const OV::Ref<ClientMail>& mail, bool isOut)
{
    const Slot slot = Size();
    mails_.push_back(mail);
    states_.push_back(static_cast<State>(StateOf(*mail) | (isOut ? Out : 0)));
    slots_.emplace(mail.Get(), slot);
    if (!mail->GetParentMailId().empty())
        answers_.emplace(HashOf(mail->GetParentMailId()), slot);
    Count(states_.back(), 1);
    return slot;
}

void MailIndex::Update(Slot slot)
{
    State& state = states_[slot];
    Count(state, -1);
    state = static_cast<State>(StateOf(*std::as_const(mails_)[slot]) | (state & (Out | Match)));
    Count(state, 1);
}

void MailIndex::Remove(Slot slot)
{
    const auto mail = std::as_const(mails_)[slot];
    Count(states_[slot], -1);
    states_[slot] = Gone;
    slots_.erase(mail.Get());
    const auto [first, last] = answers_.equal_range(HashOf(mail->GetParentMailId()));
    for (auto answer = first; answer != last; ++answer)
        if (answer->second == slot) {
            answers_.erase(answer);
            break;
        }
    mails_[slot] = {};
}

void MailIndex::SetMatching(Slot slot, bool isMatching)
{
    states_[slot] = static_cast<State>((states_[slot] & ~Match) | (isMatching ? Match : 0));
}

std::optional<MailIndex::Slot> MailIndex::Find(const ClientMail& mail) const
{
    const auto found = slots_.find(&mail);
    return found == slots_.end() ? std::nullopt : std::optional(found->second);
}

bool MailIndex::IsShown(Slot slot, MailView view) const noexcept
{
    return (states_[slot] & Match) != 0 &&
           Views[static_cast<std::size_t>(view)].Fits(states_[slot]);
}

void MailIndex::ForAnswers(const OV::UniString& id, const std::function<void(Slot)>& found) const
{
    const auto [first, last] = answers_.equal_range(HashOf(id));
    for (auto answer = first; answer != last; ++answer)
        if (std::as_const(mails_)[answer->second]->GetParentMailId() == id)
            found(answer->second);
}

}  // namespace SYC
