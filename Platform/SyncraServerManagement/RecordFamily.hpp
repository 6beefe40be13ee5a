#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"

#include <optional>

namespace Syncra::Server::Management {

/// The records of one kind on a server. Every call is a request and blocks for its answer; one
/// thread at a time. Failures are those of UserRepositoryExceptions.hpp, and
/// OV::InterruptedException.
template <class Record>
class RecordFamily {
public:
    virtual ~RecordFamily() = default;

    /// Those that the signed-in user may see, by name; projects in the order of their creation.
    [[nodiscard]] virtual OV::Array<Record> List() = 0;
    /// Throws UserRepositoryObjectNotFoundException.
    [[nodiscard]] virtual Record Get(const OV::UniString& id) = 0;
    /// The one of that name in any ASCII letter case, or nothing. Of users, the first one with that
    /// full name.
    [[nodiscard]] virtual std::optional<Record> Find(const OV::UniString& name) = 0;
    /// The record as the server keeps it now, with the identifier that it gave.
    virtual Record Insert(const Record& record) = 0;
    /// Replaces the record of that identifier whole; the record as the server keeps it now.
    virtual Record Update(const Record& record) = 0;
    virtual void Delete(const OV::UniString& id) = 0;

protected:
    RecordFamily() = default;
    RecordFamily(const RecordFamily&) = default;
    RecordFamily& operator=(const RecordFamily&) = default;
};

}  // namespace Syncra::Server::Management
