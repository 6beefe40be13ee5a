#pragma once

#include "ClientProjectDataObserver.hpp"
#include "IO/Location.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"

namespace SYC {

class ClientProjectConnectionManager;

/// A project to be created or shown before there is a connection to it. An observable value: every
/// setter tells the observers which field was set, whether or not the new value differs. Observers
/// belong to one object: a copy has none. One thread at a time.
class SYC_API ClientProjectData {
public:
    /// The records that the fields are made of.
    /// @{
    using ChangedField = ClientProjectDataObserver::ChangedField;
    using ProjectStatus = Syncra::Server::Management::V1::ProjectStatus;
    using ProjectMember = Syncra::Server::Management::V1::ProjectMember;
    using Project = Syncra::Server::Management::V2::Project;
    /// @}

    ClientProjectData() = default;
    /// The project record is empty until InitNewProject or SetProject.
    ClientProjectData(OV::UniString serverName, OV::UniString userName, OV::Secret password,
                      std::int16_t port, OV::UniString projectName,
                      OV::UniString projectDescription, ProjectStatus category,
                      IO::Location templateLocation, bool useLatestSettings);
    /// The opened project of `manager`: server, user, password and project from its location, the
    /// rest from its cache when there is one. Throws SYCB::PasswordCodingException.
    explicit ClientProjectData(const ClientProjectConnectionManager& manager);
    /// The fields; the observers stay with `other`.
    ClientProjectData(const ClientProjectData& other) : fields_(other.fields_) {}
    /// Takes over every field, keeps its own observers and tells them once.
    ClientProjectData& operator=(const ClientProjectData& other);

    /// Observers must outlive this object or detach.
    void Attach(ClientProjectDataObserver& observer) { observers_.Attach(observer); }
    /// Not told any more when it returns.
    void Detach(ClientProjectDataObserver& observer) { observers_.Detach(observer); }
    /// Attached for as long as the answer lives (see OVRoot/EventSource.hpp).
    [[nodiscard]] OV::Subscription Subscribe(ClientProjectDataObserver& observer)
    {
        return observers_.Subscribe(observer);
    }
    /// What the setters do: for who changed a field in another way.
    void NotifyFieldChanged(ChangedField field);

    /// As users write it.
    /// @{
    [[nodiscard]] const OV::UniString& GetServerName() const { return fields_.serverName; }
    void SetServerName(const OV::UniString& name);
    /// @}
    /// Ports above 32767 appear as negative numbers.
    [[nodiscard]] std::int16_t GetServerPort() const { return fields_.port; }
    /// Of the model service, above 32767 as a negative number.
    void SetServerPort(std::int16_t port);
    /// The login name.
    /// @{
    [[nodiscard]] const OV::UniString& GetUserName() const { return fields_.userName; }
    void SetUserName(const OV::UniString& name);
    /// @}
    /// Clear text, in memory only.
    [[nodiscard]] const OV::Secret& GetPassword() const { return fields_.password; }
    /// Wiped with this object.
    void SetPassword(const OV::Secret& password);
    /// In the letter case of the server.
    /// @{
    [[nodiscard]] const OV::UniString& GetProjectName() const { return fields_.projectName; }
    void SetProjectName(const OV::UniString& name);
    /// @}
    /// For people.
    /// @{
    [[nodiscard]] const OV::UniString& GetProjectDescription() const
    {
        return fields_.projectDescription;
    }
    void SetProjectDescription(const OV::UniString& description);
    /// @}
    /// Category and state of the project.
    /// @{
    [[nodiscard]] const ProjectStatus& GetCategory() const { return fields_.category; }
    void SetCategory(const ProjectStatus& category);
    /// @}
    /// The file or folder that a new project begins from.
    [[nodiscard]] const IO::Location& GetTemplateLocation() const
    {
        return fields_.templateLocation;
    }
    /// Nothing is read from there before the project is made.
    void SetTemplateLocation(const IO::Location& location);
    /// Whether a new project begins with the latest project settings.
    [[nodiscard]] bool IsUsingLatestSettings() const { return fields_.useLatestSettings; }
    /// See IsUsingLatestSettings.
    void SetUseLatestSettings(bool use);
    /// The project as the server administers it.
    /// @{
    [[nodiscard]] const Project& GetProject() const { return fields_.project; }
    void SetProject(const Project& project);
    /// @}

    /// Prepares the project record for a project about to be created: name, description and
    /// category come from the fields, everything that the server gives is empty, and so is the
    /// member list.
    void InitNewProject();
    /// Fills the member list of the project record.
    void InitMemberList(const OV::HashSet<ProjectMember>& members);

    /// Writes the project URL, with the password coded. Throws SYCB::PasswordCodingException.
    void ToSyncraLocation(IO::Location& location) const;

private:
    struct Fields {
        OV::UniString serverName;
        OV::UniString userName;
        OV::Secret password;
        std::int16_t port = 0;
        OV::UniString projectName;
        OV::UniString projectDescription;
        ProjectStatus category;
        IO::Location templateLocation;
        bool useLatestSettings = false;
        Project project;
    };

    template <class Field>
    void Set(Field Fields::*field, const Field& value, ChangedField changed);

    Fields fields_;
    OV::EventSource<ClientProjectDataObserver> observers_;
};

}  // namespace SYC
