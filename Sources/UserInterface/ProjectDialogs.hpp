#pragma once

#include "JoinedProject.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraClient/SyncraClient.hpp"

/// The flows of projects from their first question to their end, by dialogs on the main thread.
/// `dataFolder` is where the caches stand, the main project folder when it is empty.
namespace SYC {

/// Joins or opens the project of a URL; asks before a session is taken over or begun anew, and
/// tells why it cannot be joined. Null when it was not joined; also, after it was told, when its
/// mails cannot be read, and then it is joined all the same.
[[nodiscard]] SYC_API std::unique_ptr<JoinedProject>
JoinProjectWithDialogs(const IO::Location& project, const IO::Location& dataFolder = {});

/// Leaves it after asking how; whether it was left. Nobody has it open (see LeaveProject).
SYC_API bool LeaveProjectWithDialogs(const IO::Location& project,
                                     const IO::Location& dataFolder = {});

/// Lets the user fill in a new project and shares it; its URL, empty when it was not shared.
[[nodiscard]] SYC_API IO::Location ShareProjectWithDialogs(const Syncra::Client::SignInData& login);

/// Lets the user change the settings of a project, by the server's id; whether they were changed.
SYC_API bool UpdateProjectSettingsWithDialogs(const Syncra::Client::SignInData& login,
                                              const OV::UniString& projectId);

/// Deletes a project on its server after asking twice; whether it is gone.
SYC_API bool DeleteProjectWithDialogs(const Syncra::Client::SignInData& login,
                                      const OV::UniString& projectId);

}  // namespace SYC
