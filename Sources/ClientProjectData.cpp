#include "ClientProjectData.hpp"

#include "ClientProjectConnectionManager.hpp"
#include "SyncraURL.hpp"

namespace SYC {

ClientProjectData::ClientProjectData(OV::UniString serverName, OV::UniString userName,
                                     OV::Secret password, std::int16_t port,
                                     OV::UniString projectName, OV::UniString projectDescription,
                                     ProjectStatus category, IO::Location templateLocation,
                                     bool useLatestSettings)
    : fields_{std::move(serverName),  std::move(userName),
              std::move(password),    port,
              std::move(projectName), std::move(projectDescription),
              std::move(category),    std::move(templateLocation),
              useLatestSettings,      {}}
{}

ClientProjectData::ClientProjectData(const ClientProjectConnectionManager& manager)
{
    const auto connection = ToConnectionInfo(manager.GetProjectLocation());
    fields_.serverName = connection.serverName;
    fields_.userName = connection.userName;
    fields_.password = connection.password;
    fields_.port = static_cast<std::int16_t>(connection.port);
    fields_.projectName = connection.projectName;
    fields_.project.name = connection.projectName;
    if (const auto cache = manager.FindCache()) {
        fields_.category.category = cache->GetCategoryName();
        fields_.project.id = cache->GetProjectId();
        fields_.project.version = cache->GetProjectVersion();
    }
}

ClientProjectData& ClientProjectData::operator=(const ClientProjectData& other)
{
    if (this != &other) {
        fields_ = other.fields_;
        NotifyFieldChanged(ChangedField::All);
    }
    return *this;
}

void ClientProjectData::NotifyFieldChanged(ChangedField field)
{
    observers_.Notify(
        [&](ClientProjectDataObserver& observer) { observer._FieldChanged(*this, field); });
}

template <class Field>
void ClientProjectData::Set(Field Fields::*field, const Field& value, ChangedField changed)
{
    fields_.*field = value;
    NotifyFieldChanged(changed);
}

void ClientProjectData::SetServerName(const OV::UniString& name)
{
    Set(&Fields::serverName, name, ChangedField::ServerName);
}

void ClientProjectData::SetServerPort(std::int16_t port)
{
    Set(&Fields::port, port, ChangedField::ServerPort);
}

void ClientProjectData::SetUserName(const OV::UniString& name)
{
    Set(&Fields::userName, name, ChangedField::UserName);
}

void ClientProjectData::SetPassword(const OV::Secret& password)
{
    Set(&Fields::password, password, ChangedField::Password);
}

void ClientProjectData::SetProjectName(const OV::UniString& name)
{
    Set(&Fields::projectName, name, ChangedField::ProjectName);
}

void ClientProjectData::SetProjectDescription(const OV::UniString& description)
{
    Set(&Fields::projectDescription, description, ChangedField::ProjectDescription);
}

void ClientProjectData::SetCategory(const ProjectStatus& category)
{
    Set(&Fields::category, category, ChangedField::Category);
}

void ClientProjectData::SetTemplateLocation(const IO::Location& location)
{
    Set(&Fields::templateLocation, location, ChangedField::TemplateLocation);
}

void ClientProjectData::SetUseLatestSettings(bool use)
{
    Set(&Fields::useLatestSettings, use, ChangedField::UseLatestSettings);
}

void ClientProjectData::SetProject(const Project& project)
{
    Set(&Fields::project, project, ChangedField::Project);
}

void ClientProjectData::InitNewProject()
{
    Project project;
    project.name = fields_.projectName;
    project.description = fields_.projectDescription;
    project.status = fields_.category;
    SetProject(project);
}

void ClientProjectData::InitMemberList(const OV::HashSet<ProjectMember>& members)
{
    fields_.project.members = members;
    NotifyFieldChanged(ChangedField::Project);
}

void ClientProjectData::ToSyncraLocation(IO::Location& location) const
{
    Inner::ProjectConnectionInfo info;
    info.serverName = fields_.serverName;
    info.port = static_cast<std::uint16_t>(fields_.port);
    info.projectName = fields_.projectName;
    info.userName = fields_.userName;
    info.password = fields_.password;
    location = SYC::ToSyncraLocation(info);
}

}  // namespace SYC
