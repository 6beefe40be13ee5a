#pragma once

#include "ManagementTool/TargetNotFoundException.hpp"
#include "SyncraServerManagement/RecordFamily.hpp"

#include <variant>

namespace Syncra::Server::ManagementTool::Core {

/// The result of a step that brings nothing back.
using Nothing = std::monostate;

/// The steps of all records of one kind, reached through the repository's member function.
template <auto Family>
struct RecordSteps;

template <class Repository, class Record, Management::RecordFamily<Record>& (Repository::*Family)()>
struct RecordSteps<Family> {
    static OV::Array<Record> List(Repository& repository) { return (repository.*Family)().List(); }
    static Record Get(Repository& repository, const OV::UniString& id)
    {
        return (repository.*Family)().Get(id);
    }
    static Record Find(Repository& repository, const OV::UniString& name)
    {
        return Found((repository.*Family)().Find(name), name);
    }
    static Record Insert(Repository& repository, const Record& record)
    {
        return (repository.*Family)().Insert(record);
    }
    static Record Update(Repository& repository, const Record& record)
    {
        return (repository.*Family)().Update(record);
    }
    static Nothing Delete(Repository& repository, const Record& record)
    {
        (repository.*Family)().Delete(record.id);
        return {};
    }

    /// The record that a search brought; throws TargetNotFoundException when it brought none.
    static Record Found(std::optional<Record> record, const OV::UniString& name)
    {
        if (!record)
            throw TargetNotFoundException(u"There is nothing named \"" + name +
                                          u"\" on the server.");
        return *std::move(record);
    }
};

}  // namespace Syncra::Server::ManagementTool::Core
