#include "UpdateProjectSettings.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "Flow/Detail/Repositories.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"

namespace SYC {

namespace {

using Project = UpdateProjectSettings::Project;
using Syncra::Server::Management::ProjectRepository;

template <class Value>
void TakeChange(const Value& seen, const Value& edited, Value& current)
{
    if (edited != seen)
        current = edited;
}

/// Of sets whose records have an identifier: what came, went or became another.
template <class Record>
void TakeSetChanges(const OV::HashSet<Record>& seen, const OV::HashSet<Record>& edited,
                    OV::HashSet<Record>& current)
{
    const auto drop = [&](const Record& record) {
        std::erase_if(current, [&](const Record& each) { return each.id == record.id; });
    };
    for (const auto& record : seen)
        if (!edited.contains(record))
            drop(record);
    for (const auto& record : edited)
        if (!seen.contains(record)) {
            if (!record.id.empty())
                drop(record);
            current.insert(record);
        }
}

Project TakeChanges(const Project& seen, const Project& edited, Project current)
{
    TakeChange(seen.name, edited.name, current.name);
    TakeChange(seen.description, edited.description, current.description);
    TakeChange(seen.status.category, edited.status.category, current.status.category);
    TakeChange(seen.status.state, edited.status.state, current.status.state);
    TakeChange(seen.maxBackupCounter, edited.maxBackupCounter, current.maxBackupCounter);
    TakeChange(seen.version, edited.version, current.version);
    TakeSetChanges(seen.members, edited.members, current.members);
    TakeSetChanges(seen.backupSchedules, edited.backupSchedules, current.backupSchedules);
    return current;
}

}  // namespace

void UpdateProjectSettings::Save(const Project& edited)
{
    Start([this, login = login_, seen = project_, edited](const Report& report) -> Result {
        report(GetText(FlowText::ChangeSettings));
        Project saved, wanted;
        const auto save = [&](ProjectRepository& repository) {
            saved = repository.Projects().Get(seen.id);
            wanted = TakeChanges(seen, edited, saved);
            if (wanted != saved)
                saved = repository.Projects().Update(wanted);
        };
        const auto isSaved = [&] {
            saved = ConnectRepository<ProjectRepository>(login, QuickOptions())
                        ->Projects()
                        .Get(seen.id);
            // Somebody else may have changed something in between.
            return saved.IsContentEqual(wanted) || TakeChanges(seen, edited, saved) == saved;
        };
        if (auto failure = ChangeOnServer<ProjectRepository>(login, save, isSaved))
            return {{}, std::move(failure)};
        return {[this, saved] { project_ = saved; }, {}};
    });
}

}  // namespace SYC
