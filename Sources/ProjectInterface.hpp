#pragma once

#include "OVRoot/Export.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"

namespace SYC {

/// One project record for both generations of servers. The version says which of the two records is
/// live; with any other version none is, and then getters answer with empty values, setters do
/// nothing and queries are false. References that getters return stay valid as long as the
/// interface does.
class SYC_API ProjectInterface {
public:
    /// The generation of servers whose record is live.
    enum class Version : std::int32_t { V1 = 1, V2 = 2 };
    /// The state of a project; servers store these as 1, 2 and 3.
    enum class Status : std::int32_t { Locked = 0, Maintenance = 1, Active = 2 };

    /// The records of the servers.
    /// @{
    using V1Project = Syncra::Server::Management::V1::Project;
    using V2Project = Syncra::Server::Management::V2::Project;
    using ProjectMember = Syncra::Server::Management::V1::ProjectMember;
    using ProjectBackupSchedule = Syncra::Server::Management::V1::ProjectBackupSchedule;
    /// @}

    /// An empty record of that version.
    explicit ProjectInterface(Version version);
    /// That record, live; the other one is empty.
    /// @{
    explicit ProjectInterface(V1Project project);
    explicit ProjectInterface(V2Project project);
    /// @}
    ProjectInterface(const ProjectInterface&) = default;
    /// Takes over version, version string and both records.
    ProjectInterface& operator=(const ProjectInterface& other);

    /// Version, version string and both records are equal, the one that is not live included.
    friend bool operator==(const ProjectInterface& left, const ProjectInterface& right);
    /// Compares the records that this interface's version makes live, apart from identifiers.
    [[nodiscard]] bool IsContentEqual(const ProjectInterface& other) const;

    /// Empties everything and makes the record of `version` live.
    void InitVersion(Version version);
    /// Which record is live.
    [[nodiscard]] Version GetVersion() const noexcept { return version_; }
    /// "v13", "v14", or "???" when no record is live.
    [[nodiscard]] const OV::UniString& GetVersionString() const noexcept { return versionString_; }
    /// The record of that version, live or not.
    /// @{
    [[nodiscard]] const V1Project& GetV1Project() const noexcept { return v1Project_; }
    [[nodiscard]] const V2Project& GetV2Project() const noexcept { return v2Project_; }
    /// @}
    /// The second name of GetV2Project.
    [[nodiscard]] const V2Project& GetProject() const noexcept { return v2Project_; }

    /// The server's identifier; empty for a project that it has not seen yet.
    /// @{
    [[nodiscard]] const OV::UniString& GetId() const;
    void SetId(const OV::UniString& id);
    /// @}
    /// Unique on the server.
    /// @{
    [[nodiscard]] const OV::UniString& GetName() const;
    void SetName(const OV::UniString& name);
    /// @}
    /// For people.
    /// @{
    [[nodiscard]] const OV::UniString& GetDescription() const;
    void SetDescription(const OV::UniString& description);
    /// @}
    /// Clear text, in memory only.
    /// @{
    [[nodiscard]] const OV::UniString& GetPassword() const;
    void SetPassword(const OV::UniString& password);
    /// @}

    /// Active when no record is live or the record holds an unknown code.
    [[nodiscard]] Status GetStatus() const;
    /// A value outside the enumeration changes nothing.
    void SetStatus(Status status);

    /// Who is a member, with the identifier of his role.
    /// @{
    [[nodiscard]] const OV::HashSet<ProjectMember>& GetMembers() const;
    void SetMembers(const OV::HashSet<ProjectMember>& members);
    /// @}
    /// Whether a member of that user identifier is in the set.
    [[nodiscard]] bool HasMember(const OV::UniString& id) const;
    /// The second name of HasMember.
    [[nodiscard]] bool IsMember(const OV::UniString& id) const { return HasMember(id); }
    /// Fills `member` and returns true when the set holds the identifier.
    [[nodiscard]] bool GetMember(const OV::UniString& id, ProjectMember& member) const;

    /// When the server backs the project up by itself.
    /// @{
    [[nodiscard]] const OV::HashSet<ProjectBackupSchedule>& GetBackupSchedules() const;
    void SetBackupSchedules(const OV::HashSet<ProjectBackupSchedule>& schedules);
    /// @}
    /// Whether a schedule of that identifier is in the set.
    [[nodiscard]] bool IsBackupSchedule(const OV::UniString& id) const;
    /// Fills `schedule` and returns true when the set holds the identifier.
    [[nodiscard]] bool GetBackupSchedule(const OV::UniString& id,
                                         ProjectBackupSchedule& schedule) const;

    /// How many automatic backups the server keeps.
    /// @{
    [[nodiscard]] const std::uint32_t& GetMaxBackupCounter() const;
    void SetMaxBackupCounter(std::uint32_t count);
    /// @}
    /// Name of the category; empty for none.
    /// @{
    [[nodiscard]] const OV::UniString& GetProjectCategory() const;
    void SetProjectCategory(const OV::UniString& category);
    /// @}
    /// Server-side location of the project's data.
    /// @{
    [[nodiscard]] const OV::UniString& GetProjectLocation() const;
    void SetProjectLocation(const OV::UniString& location);
    /// @}
    /// Known to version 2 only; empty otherwise.
    [[nodiscard]] const OV::UniString& GetProjectVersion() const;
    /// Nothing for version 1.
    void SetProjectVersion(const OV::UniString& version);

private:
    [[nodiscard]] const V1Project* LiveRecord() const noexcept;
    [[nodiscard]] V1Project* LiveRecord() noexcept;
    template <class Field>
    [[nodiscard]] const Field& Get(Field V1Project::*field) const;
    template <class Field>
    void Set(Field V1Project::*field, const Field& value);

    OV::UniString versionString_;
    Version version_;
    V1Project v1Project_;
    V2Project v2Project_;
    /// Set aside at the end of the layout; InitVersion empties them and nothing reads them.
    std::int32_t reservedNumber_ = 0;
    OV::UniString reservedText_;
};

}  // namespace SYC
