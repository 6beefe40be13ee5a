#pragma once

#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Resources.hpp"

namespace SYC {

/// What flows say; the numbers are those of string list 32140.
enum class FlowText : int {
    AskForProjects = 1,
    FetchMembersAndMails,
    LookForUnsentWork,
    EndSession,
    RemoveCache,
    LookForServers,
};

[[nodiscard]] inline OV::UniString GetText(FlowText text)
{
    return OV::GetStringListItem(TextLists::Flows, static_cast<int>(text));
}

}  // namespace SYC
