#pragma once

#include "ManagementTool/ConnectedRepositoryManager.hpp"
#include "ManagementTool/Detail/RepositoryTask.hpp"
#include "ManagementTool/TargetNotFoundException.hpp"
#include "SyncraServerManagement/RecordFamily.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Where a repository has the records of one kind, and how alerts call them.
template <class Repository, class Record>
struct RecordKind {
    Management::RecordFamily<Record>& (Repository::*family)();
    /// None as well in the alerts of a change and of a deletion.
    ObjectType object = ObjectType::None;
    /// Whether the alert of a failed insertion names the record.
    bool isNamedWhenInserted = false;
};

/// The record that a search brought; throws TargetNotFoundException when it brought none.
template <class Record>
Record Found(std::optional<Record> record, const OV::UniString& name)
{
    if (!record)
        throw TargetNotFoundException(u"There is nothing named \"" + name + u"\" on the server.");
    return *std::move(record);
}

template <class Record, RecordOperation operation>
struct ResultOf {
    using Type = Record;
};
template <class Record>
struct ResultOf<Record, RecordOperation::List> {
    using Type = OV::Array<Record>;
};
template <class Record>
struct ResultOf<Record, RecordOperation::Delete> {
    using Type = Nothing;
};

template <class Repository>
template <RecordOperation operation, class Record>
class SYC_LOCAL ConnectedRepositoryManager<Repository>::RecordTask final
    : public StepTask<Repository, typename ResultOf<Record, operation>::Type> {
    using Base = StepTask<Repository, typename ResultOf<Record, operation>::Type>;

public:
    using Base::Base;
};

template <class Repository>
template <class TaskClass, class Result, class Step>
bool ConnectedRepositoryManager<Repository>::Read(const FailureManner& manner, Result& result,
                                                  const Step& step)
{
    OV::Ref<TaskClass> task;
    const bool succeeded = Perform(manner, [&](const OV::Ref<Repository>& repository) {
        return task = OV::MakeRef<TaskClass>(repository, step);
    });
    if (succeeded)
        result = std::move(task->result);
    return succeeded;
}

template <class Repository>
template <class TaskClass, class Step>
bool ConnectedRepositoryManager<Repository>::Change(const FailureManner& manner, const Step& step)
{
    Nothing nothing;
    return Read<TaskClass>(manner, nothing, [step](Repository& repository) {
        step(repository);
        return Nothing();
    });
}

template <class Repository>
template <class Record>
bool ConnectedRepositoryManager<Repository>::List(const Kind<Record>& kind,
                                                  OV::Array<Record>& records)
{
    return Read<RecordTask<RecordOperation::List, Record>>(
        {kind.object}, records,
        [family = kind.family](Repository& repository) { return (repository.*family)().List(); });
}

template <class Repository>
template <class Record>
bool ConnectedRepositoryManager<Repository>::Get(const Kind<Record>& kind, const OV::UniString& id,
                                                 Record& record)
{
    return Read<RecordTask<RecordOperation::Get, Record>>(
        {kind.object}, record, [family = kind.family, id](Repository& repository) {
            return (repository.*family)().Get(id);
        });
}

template <class Repository>
template <class Record>
bool ConnectedRepositoryManager<Repository>::Find(const Kind<Record>& kind,
                                                  const OV::UniString& name, Record& record)
{
    return Read<RecordTask<RecordOperation::Find, Record>>(
        {kind.object}, record, [family = kind.family, name](Repository& repository) {
            return Found((repository.*family)().Find(name), name);
        });
}

template <class Repository>
template <class Record>
bool ConnectedRepositoryManager<Repository>::Insert(const Kind<Record>& kind, Record& record)
{
    const OV::UniString* name = nullptr;
    if constexpr (requires { record.name; })
        name = kind.isNamedWhenInserted ? &record.name : nullptr;
    return Read<RecordTask<RecordOperation::Insert, Record>>(
        {kind.object, name}, record, [family = kind.family, record](Repository& repository) {
            return (repository.*family)().Insert(record);
        });
}

template <class Repository>
template <class Record>
bool ConnectedRepositoryManager<Repository>::Update(const Kind<Record>& kind, Record& record)
{
    return Read<RecordTask<RecordOperation::Update, Record>>(
        {}, record, [family = kind.family, record](Repository& repository) {
            return (repository.*family)().Update(record);
        });
}

template <class Repository>
template <class Record>
bool ConnectedRepositoryManager<Repository>::Delete(const Kind<Record>& kind, const Record& record)
{
    return Change<RecordTask<RecordOperation::Delete, Record>>(
        {.succeedsWhenGone = true}, [family = kind.family, id = record.id](Repository& repository) {
            (repository.*family)().Delete(id);
        });
}

}  // namespace Syncra::Server::ManagementTool::Core
