#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/UniString.hpp"

#include <optional>

namespace Syncra::Server::Management {

namespace Detail {
class RepositoryRequests;
}

/// The records of one kind on a server, as part of a repository. Every call is a request and blocks
/// for its answer, as long and ended as those of Syncra::Client::SyncraClient; one thread at a
/// time. Failures are those of UserRepositoryExceptions.hpp, and OV::InterruptedException.
template <class Record>
class SYC_API RecordFamily {
public:
    /// Those that the signed-in user may see, by name; projects in the order of their creation.
    [[nodiscard]] OV::Array<Record> List();
    /// Throws UserRepositoryObjectNotFoundException.
    [[nodiscard]] Record Get(const OV::UniString& id);
    /// The one of that name in any ASCII letter case, or nothing. Of users, the first one with that
    /// full name.
    [[nodiscard]] std::optional<Record> Find(const OV::UniString& name);
    /// The record as the server keeps it now, with the identifier that it gave.
    Record Insert(const Record& record);
    /// Replaces the record of that identifier whole; the record as the server keeps it now.
    Record Update(const Record& record);
    /// Throws UserRepositoryObjectNotFoundException, and what the server answers for a record in
    /// use.
    void Delete(const OV::UniString& id);

    RecordFamily(const RecordFamily&) = delete;
    RecordFamily& operator=(const RecordFamily&) = delete;

private:
    friend class UserRepository;
    friend class ProjectRepository;
    /// `path` is that of the records, such as "/roles".
    RecordFamily(Detail::RepositoryRequests& requests, OV::String path)
        : requests_(requests), path_(std::move(path))
    {}

    Detail::RepositoryRequests& requests_;
    OV::String path_;
};

}  // namespace Syncra::Server::Management
