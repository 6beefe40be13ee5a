#pragma once

#include "ClientProjectData.hpp"
#include "Flow/Flow.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraClient/SyncraClient.hpp"

namespace SYC {

/// Shares a new project on a server: takes its description, holds its name against the server while
/// it is typed, and makes it. The project is there as a whole or not at all; when an answer of the
/// server was lost, the server is asked once whether it is. For administrators and project
/// managers.
class SYC_API CreateNewSyncraProject final : public Flow {
public:
    /// What is known of the name that was typed.
    enum class NameState {
        Empty,
        Unusable,  ///< blanks at an end, control characters, or longer than 128 code units
        Checking,
        Free,
        Taken,    ///< in this or other letter case
        Unknown,  ///< the server could not be asked; sharing tells
    };
    /// One member of the new project: a user and his role, by their identifiers.
    using ProjectMember = ClientProjectData::ProjectMember;

    /// Asks nobody before a name is set.
    CreateNewSyncraProject(Syncra::Client::SignInData login, const FlowExecutors& executors);
    ~CreateNewSyncraProject() override;

    /// The server is asked once the name was left alone for a moment; observers hear of the answer.
    void SetName(const OV::UniString& name);
    /// Of the name that was set last.
    [[nodiscard]] NameState GetNameState() const noexcept { return nameState_; }
    /// What the state says in words; empty for Empty and Free.
    [[nodiscard]] OV::UniString GetNameText() const;

    /// Everything but the name, and the members: without any, nobody could open the project.
    [[nodiscard]] ClientProjectData& GetData() noexcept { return data_; }
    /// Replaces all of them; the user himself is not among them unless he is here.
    void SetMembers(OV::HashSet<ProjectMember> members) { members_ = std::move(members); }

    /// Makes the project: some three requests. Fails with WrongInput for a name that is Empty or
    /// Unusable.
    void Create();
    /// The URL of the project, with the password coded, once it is there; empty before.
    [[nodiscard]] const IO::Location& GetLocation() const noexcept { return location_; }

private:
    class NameCheck;

    const Syncra::Client::SignInData login_;
    ClientProjectData data_;
    OV::HashSet<ProjectMember> members_;
    NameState nameState_ = NameState::Empty;
    IO::Location location_;
    std::unique_ptr<NameCheck> nameCheck_;
};

}  // namespace SYC
