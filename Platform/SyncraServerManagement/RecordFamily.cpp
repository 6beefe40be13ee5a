#include "SyncraServerManagement/RecordFamily.hpp"

#include "SYCommunication/PagedReading.hpp"
#include "SyncraServerManagement/Detail/RepositoryRequests.hpp"

#include <algorithm>
#include <list>
#include <vector>

namespace Syncra::Server::Management {

using Detail::MakePath;

namespace {

/// What lists are sorted by.
template <class Record>
const OV::UniString& NameOf(const Record& record)
{
    if constexpr (requires { record.loginName; })
        return record.loginName;
    else
        return record.name;
}

/// Parts come in the order of what never changes, so that none is missed who is renamed meanwhile.
/// Done for each of them while the next one travels.
template <class Record>
void MergeByName(std::vector<Record*>& inOrder, OV::Array<Record>& part)
{
    const auto byName = [](const Record* left, const Record* right) {
        return NameOf(*left) < NameOf(*right);
    };
    const auto former = static_cast<std::ptrdiff_t>(inOrder.size());
    for (Record& record : part)
        inOrder.push_back(&record);
    std::sort(inOrder.begin() + former, inOrder.end(), byName);
    std::inplace_merge(inOrder.begin(), inOrder.begin() + former, inOrder.end(), byName);
}

}  // namespace

template <class Record>
OV::Array<Record> RecordFamily<Record>::List()
{
    // A server that has no parts of this list answers with all of it, in its order.
    constexpr int itemsOfPart = 1000;
    Communication::PagedReading reading(u"the list");
    std::list<OV::Array<Record>> parts;
    std::vector<Record*> inOrder;
    requests_.ReadPages<ItemPage<Record>>(
        [&](const OV::UniString& cursor) {
            return path_ + MakePath("?count={}&after={}", {itemsOfPart, cursor});
        },
        [&](ItemPage<Record> page, std::size_t bytes, bool isLast) {
            reading.TakePage(bytes, page.items.size(), !isLast);
            parts.push_back(std::move(page.items));
            if (page.cursor)
                MergeByName(inOrder, parts.back());
        });
    if (inOrder.empty())
        return std::move(parts.front());
    OV::Array<Record> records;
    records.reserve(inOrder.size());
    for (Record* record : inOrder)
        records.push_back(std::move(*record));
    return records;
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
