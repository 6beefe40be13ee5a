#pragma once

#include "Messaging/ProjectMembers.hpp"
#include "OVRoot/Export.hpp"

#include <vector>

namespace SYC {

/// Completes what is typed into a field of recipients to members of the project. On the members'
/// own thread.
class SYC_API MemberCompletion final : private ProjectMembersObserver {
public:
    /// The short id of a member.
    using MemberId = ProjectMembers::MemberId;

    /// Follows the members while both live.
    explicit MemberCompletion(ProjectMembers& members);

    /// At most `limit` members whose full or login name, or a word of it, begins with `typed`, in
    /// upper or lower case: first those whose name it is, then those whose name begins with it,
    /// then those of whom a later word does; each by their names. Nobody for blanks.
    [[nodiscard]] OV::Array<MemberId> Complete(const OV::UniString& typed,
                                               std::size_t limit = 20) const;

private:
    struct Member {
        MemberId id;
        OV::UniString names[2];  ///< full and login name, folded

        friend bool operator==(const Member&, const Member&) = default;
    };
    /// Where a word begins.
    struct Start {
        std::uint64_t beginning;  ///< the first four code units from there
        std::uint32_t member;
        std::uint32_t offset;
        std::uint32_t name;
    };

    void _ProjectMembersChanged(ProjectMembers& members) override;
    [[nodiscard]] OV::UniStringView TextAt(const Start& start) const;

    std::vector<Member> members_;  ///< by name
    std::vector<Start> starts_;    ///< by the text from there
    OV::Subscription subscription_;
};

}  // namespace SYC
