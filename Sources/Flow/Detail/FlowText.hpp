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
    MakeProject,
    ChangeSettings,
    RemoveProject,
    SignIn,
    Diagnose,
    NoCategory,
    ProjectColumn,
    CategoryColumn,
    StateColumn,
    HereColumn,
    MembersColumn,
    AtWorkColumn,
    VersionColumn,
    AskToBeAdded,
    UnsentChanges,
    UnsentMails,
    UnsentChangesAndMails,
    UnsentUnknown,
    JoinTitle,
    LeaveTitle,
    ShareTitle,
    SettingsTitle,
    DeleteTitle,
    NameUnusable,
    NameChecking,
    NameTaken,
    NameUnknown,
    Share,
    Save,
    NameColumn,
    LoginColumn,
    RoleColumn,
    DoNotStore,
    StorePassword,
    StepColumn,
    ResultColumn,
    WayIsFree,
    OtherServer,
    InNetwork,
    ChangeMember,
    AskForRights,
};

[[nodiscard]] inline OV::UniString GetText(FlowText text)
{
    return OV::GetStringListItem(TextLists::Flows, static_cast<int>(text));
}

}  // namespace SYC
