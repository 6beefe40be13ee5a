#include "ProjectInterface.hpp"

#include <algorithm>
#include <utility>

namespace SYC {

namespace {

/// What getters answer with when there is nothing to refer to; one object for each type.
template <class Value>
const Value& Empty()
{
    static const auto& empty = *new Value{};
    return empty;
}

OV::UniString VersionName(ProjectInterface::Version version)
{
    switch (version) {
    case ProjectInterface::Version::V1:
        return u"v13";
    case ProjectInterface::Version::V2:
        return u"v14";
    }
    return u"???";
}

/// The sets compare whole records, so an identifier alone is looked for one by one.
template <class Record>
const Record* FindById(const OV::HashSet<Record>& records, const OV::UniString& id)
{
    const auto found = std::find_if(records.begin(), records.end(),
                                    [&](const Record& record) { return record.id == id; });
    return found == records.end() ? nullptr : &*found;
}

template <class Record>
bool CopyById(const OV::HashSet<Record>& records, const OV::UniString& id, Record& target)
{
    const Record* const found = FindById(records, id);
    if (found)
        target = *found;
    return found != nullptr;
}

}  // namespace

ProjectInterface::ProjectInterface(Version version)
{
    InitVersion(version);
}

ProjectInterface::ProjectInterface(V1Project project)
    : versionString_(VersionName(Version::V1)), version_(Version::V1),
      v1Project_(std::move(project))
{}

ProjectInterface::ProjectInterface(V2Project project)
    : versionString_(VersionName(Version::V2)), version_(Version::V2),
      v2Project_(std::move(project))
{}

ProjectInterface& ProjectInterface::operator=(const ProjectInterface& other)
{
    if (this != &other) {
        version_ = other.version_;
        versionString_ = other.versionString_;
        v1Project_ = other.v1Project_;
        v2Project_ = other.v2Project_;
    }
    return *this;
}

bool operator==(const ProjectInterface& left, const ProjectInterface& right)
{
    return left.version_ == right.version_ && left.versionString_ == right.versionString_ &&
           left.v1Project_ == right.v1Project_ && left.v2Project_ == right.v2Project_;
}

bool ProjectInterface::IsContentEqual(const ProjectInterface& other) const
{
    switch (version_) {
    case Version::V1:
        return v1Project_.IsContentEqual(other.v1Project_);
    case Version::V2:
        return v2Project_.IsContentEqual(other.v2Project_);
    }
    return false;
}

void ProjectInterface::InitVersion(Version version)
{
    version_ = version;
    versionString_ = VersionName(version);
    v1Project_ = {};
    v2Project_ = {};
    reservedNumber_ = 0;
    reservedText_.clear();
}

const ProjectInterface::V1Project* ProjectInterface::LiveRecord() const noexcept
{
    switch (version_) {
    case Version::V1:
        return &v1Project_;
    case Version::V2:
        return &v2Project_;
    }
    return nullptr;
}

ProjectInterface::V1Project* ProjectInterface::LiveRecord() noexcept
{
    return const_cast<V1Project*>(std::as_const(*this).LiveRecord());
}

template <class Field>
const Field& ProjectInterface::Get(Field V1Project::*field) const
{
    const V1Project* const record = LiveRecord();
    return record ? record->*field : Empty<Field>();
}

template <class Field>
void ProjectInterface::Set(Field V1Project::*field, const Field& value)
{
    if (V1Project* const record = LiveRecord())
        record->*field = value;
}

const OV::UniString& ProjectInterface::GetId() const
{
    return Get(&V1Project::id);
}
void ProjectInterface::SetId(const OV::UniString& id)
{
    Set(&V1Project::id, id);
}
const OV::UniString& ProjectInterface::GetName() const
{
    return Get(&V1Project::name);
}
void ProjectInterface::SetName(const OV::UniString& name)
{
    Set(&V1Project::name, name);
}
const OV::UniString& ProjectInterface::GetDescription() const
{
    return Get(&V1Project::description);
}
void ProjectInterface::SetDescription(const OV::UniString& description)
{
    Set(&V1Project::description, description);
}
const OV::UniString& ProjectInterface::GetPassword() const
{
    return Get(&V1Project::password);
}
void ProjectInterface::SetPassword(const OV::UniString& password)
{
    Set(&V1Project::password, password);
}

ProjectInterface::Status ProjectInterface::GetStatus() const
{
    switch (Get(&V1Project::status).state) {
    case 1:
        return Status::Locked;
    case 2:
        return Status::Maintenance;
    default:
        return Status::Active;
    }
}

void ProjectInterface::SetStatus(Status status)
{
    V1Project* const record = LiveRecord();
    const auto value = static_cast<std::int32_t>(status);
    if (record && value >= 0 && value <= 2)
        record->status.state = value + 1;
}

const OV::HashSet<ProjectInterface::ProjectMember>& ProjectInterface::GetMembers() const
{
    return Get(&V1Project::members);
}

void ProjectInterface::SetMembers(const OV::HashSet<ProjectMember>& members)
{
    Set(&V1Project::members, members);
}

bool ProjectInterface::HasMember(const OV::UniString& id) const
{
    return FindById(GetMembers(), id) != nullptr;
}

bool ProjectInterface::GetMember(const OV::UniString& id, ProjectMember& member) const
{
    return CopyById(GetMembers(), id, member);
}

const OV::HashSet<ProjectInterface::ProjectBackupSchedule>&
ProjectInterface::GetBackupSchedules() const
{
    return Get(&V1Project::backupSchedules);
}

void ProjectInterface::SetBackupSchedules(const OV::HashSet<ProjectBackupSchedule>& schedules)
{
    Set(&V1Project::backupSchedules, schedules);
}

bool ProjectInterface::IsBackupSchedule(const OV::UniString& id) const
{
    return FindById(GetBackupSchedules(), id) != nullptr;
}

bool ProjectInterface::GetBackupSchedule(const OV::UniString& id,
                                         ProjectBackupSchedule& schedule) const
{
    return CopyById(GetBackupSchedules(), id, schedule);
}

const std::uint32_t& ProjectInterface::GetMaxBackupCounter() const
{
    return Get(&V1Project::maxBackupCounter);
}

void ProjectInterface::SetMaxBackupCounter(std::uint32_t count)
{
    Set(&V1Project::maxBackupCounter, count);
}

const OV::UniString& ProjectInterface::GetProjectCategory() const
{
    const V1Project* const record = LiveRecord();
    return record ? record->status.category : Empty<OV::UniString>();
}

void ProjectInterface::SetProjectCategory(const OV::UniString& category)
{
    if (V1Project* const record = LiveRecord())
        record->status.category = category;
}

const OV::UniString& ProjectInterface::GetProjectLocation() const
{
    return Get(&V1Project::location);
}

void ProjectInterface::SetProjectLocation(const OV::UniString& location)
{
    Set(&V1Project::location, location);
}

const OV::UniString& ProjectInterface::GetProjectVersion() const
{
    return version_ == Version::V2 ? v2Project_.version : Empty<OV::UniString>();
}

void ProjectInterface::SetProjectVersion(const OV::UniString& version)
{
    if (version_ == Version::V2)
        v2Project_.version = version;
}

}  // namespace SYC
