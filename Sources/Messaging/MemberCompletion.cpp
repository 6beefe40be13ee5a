#include "Messaging/MemberCompletion.hpp"

#include "OVRoot/LetterCase.hpp"

#include <algorithm>
#include <functional>
#include <tuple>

namespace SYC {

namespace {

constexpr OV::UniStringView BetweenWords = u" \t.,-_@+'()/\u00A0\u3000";

std::uint64_t BeginningOf(OV::UniStringView text)
{
    std::uint64_t beginning = 0;
    for (std::size_t at = 0; at < 4; ++at)
        beginning = (beginning << 16) | (at < text.size() ? text[at] : 0u);
    return beginning;
}

bool IsWordStart(OV::UniStringView text, std::size_t at)
{
    const auto isBetween = [&](std::size_t where) {
        return BetweenWords.find(text[where]) != OV::UniStringView::npos;
    };
    return at == 0 || (!isBetween(at) && isBetween(at - 1));
}

/// The lower, the earlier.
enum Fit : std::uint64_t { IsName, BeginsName, BeginsWord };

}  // namespace

MemberCompletion::MemberCompletion(ProjectMembers& members)
    : subscription_(members.Subscribe(*this))
{
    _ProjectMembersChanged(members);
}

OV::UniStringView MemberCompletion::TextAt(const Start& start) const
{
    return OV::UniStringView(members_[start.member].names[start.name]).substr(start.offset);
}

/// With most changes of the members, as when one begins to work, their names are what they were.
void MemberCompletion::_ProjectMembersChanged(ProjectMembers& members)
{
    std::vector<Member> list;
    for (const auto& [id, user] : members.GetUserDataTable())
        list.push_back({id,
                        {OV::LetterCase::Fold(user.GetFullName()),
                         OV::LetterCase::Fold(user.GetLoginName())}});
    std::sort(list.begin(), list.end(), [](const Member& left, const Member& right) {
        return std::tie(left.names[0], left.names[1], left.id) <
               std::tie(right.names[0], right.names[1], right.id);
    });
    if (list == members_)
        return;
    members_ = std::move(list);
    starts_.clear();
    for (std::uint32_t member = 0; member < members_.size(); ++member)
        for (std::uint32_t name = 0; name < 2; ++name) {
            const OV::UniStringView text = members_[member].names[name];
            for (std::uint32_t at = 0; at < text.size(); ++at)
                if (IsWordStart(text, at))
                    starts_.push_back({BeginningOf(text.substr(at)), member, at, name});
        }
    std::sort(starts_.begin(), starts_.end(), [this](const Start& left, const Start& right) {
        return left.beginning != right.beginning ? left.beginning < right.beginning
                                                 : TextAt(left) < TextAt(right);
    });
}

OV::Array<MemberCompletion::MemberId> MemberCompletion::Complete(const OV::UniString& typed,
                                                                 std::size_t limit) const
{
    const auto begin = typed.find_first_not_of(u" \t");
    if (begin == OV::UniString::npos)
        return {};
    const auto wanted = OV::LetterCase::Fold(OV::UniStringView(typed).substr(begin));
    const auto headOf = [&](const Start& start) { return TextAt(start).substr(0, wanted.size()); };
    const auto first = std::lower_bound(
        starts_.begin(), starts_.end(), wanted,
        [&](const Start& start, const OV::UniString& text) { return headOf(start) < text; });
    const auto last = std::upper_bound(
        first, starts_.end(), wanted,
        [&](const OV::UniString& text, const Start& start) { return text < headOf(start); });
    std::vector<std::uint64_t> fits;
    for (auto start = first; start != last; ++start) {
        const bool isWhole = TextAt(*start).size() == wanted.size();
        const Fit fit = start->offset != 0 ? BeginsWord : isWhole ? IsName : BeginsName;
        fits.push_back((std::uint64_t{fit} << 32) | start->member);
    }
    // A heap, since few of perhaps thousands are wanted.
    std::make_heap(fits.begin(), fits.end(), std::greater<>());
    OV::Array<MemberId> ids;
    for (auto end = fits.end(); end != fits.begin() && ids.size() < limit; --end) {
        std::pop_heap(fits.begin(), end, std::greater<>());
        const auto id = members_[static_cast<std::uint32_t>(*std::prev(end))].id;
        if (std::find(ids.begin(), ids.end(), id) == ids.end())
            ids.push_back(id);
    }
    return ids;
}

}  // namespace SYC
