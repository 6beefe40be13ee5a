#include "SyncraServerManagement/RecordFamily.hpp"

#include "SyncraServerManagement/Detail/RepositoryRequests.hpp"

namespace Syncra::Server::Management {

using Detail::MakePath;

template <class Record>
OV::Array<Record> RecordFamily<Record>::List()
{
    return requests_.Get<Items<Record>>(path_).value;
}

template <class Record>
Record RecordFamily<Record>::Get(const OV::UniString& id)
{
    return requests_.Get<Record>(path_ + MakePath("/{}", {id}));
}

template <class Record>
std::optional<Record> RecordFamily<Record>::Find(const OV::UniString& name)
{
    auto found = requests_.Get<Items<Record>>(path_ + MakePath("?name={}", {name})).value;
    return found.empty() ? std::nullopt : std::optional(std::move(found.front()));
}

template <class Record>
Record RecordFamily<Record>::Insert(const Record& record)
{
    return requests_.Post<Record>(path_, record);
}

template <class Record>
Record RecordFamily<Record>::Update(const Record& record)
{
    return requests_.Put<Record>(path_ + MakePath("/{}", {record.id}), record);
}

template <class Record>
void RecordFamily<Record>::Delete(const OV::UniString& id)
{
    requests_.Delete(path_ + MakePath("/{}", {id}));
}

template class RecordFamily<User>;
template class RecordFamily<Role>;
template class RecordFamily<Group>;
template class RecordFamily<Permission>;
template class RecordFamily<PermissionSet>;
template class RecordFamily<CustomPropertyDefinition>;
template class RecordFamily<V2::Project>;
template class RecordFamily<ProjectCategory>;
template class RecordFamily<ConnectedModule>;

}  // namespace Syncra::Server::Management
