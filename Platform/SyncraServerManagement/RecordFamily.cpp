#include "SyncraServerManagement/RecordFamily.hpp"

#include "SYCommunication/PagedReading.hpp"
#include "SyncraServerManagement/Detail/RepositoryRequests.hpp"

#include <algorithm>
#include <concepts>
#include <list>
#include <vector>

namespace Syncra::Server::Management {

using Detail::MakePath;

namespace {

/// Parts come in the order of what never changes, so that none is missed who is renamed meanwhile.
/// Done for each of them while the next one travels.
void MergeByName(std::vector<User*>& inOrder, OV::Array<User>& part)
{
    const auto byName = [](const User* left, const User* right) {
        return left->loginName < right->loginName;
    };
    const auto former = static_cast<std::ptrdiff_t>(inOrder.size());
    for (User& user : part)
        inOrder.push_back(&user);
    std::sort(inOrder.begin() + former, inOrder.end(), byName);
    std::inplace_merge(inOrder.begin(), inOrder.begin() + former, inOrder.end(), byName);
}

/// A server that has no parts of this list answers with all of it, in its order.
OV::Array<User> ReadInParts(Detail::RepositoryRequests& requests, const OV::String& path)
{
    constexpr int usersOfPart = 1000;
    Communication::PagedReading reading(u"the users");
    std::list<OV::Array<User>> parts;
    std::vector<User*> inOrder;
    requests.ReadPages<ItemPage<User>>(
        [&](const OV::UniString& cursor) {
            return path + MakePath("?count={}&after={}", {usersOfPart, cursor});
        },
        [&](ItemPage<User> page, std::size_t bytes, bool isLast) {
            reading.TakePage(bytes, page.items.size(), !isLast);
            parts.push_back(std::move(page.items));
            if (page.cursor)
                MergeByName(inOrder, parts.back());
        });
    if (inOrder.empty())
        return std::move(parts.front());
    OV::Array<User> users;
    users.reserve(inOrder.size());
    for (User* user : inOrder)
        users.push_back(std::move(*user));
    return users;
}

}  // namespace

template <class Record>
OV::Array<Record> RecordFamily<Record>::List()
{
    if constexpr (std::same_as<Record, User>)
        return ReadInParts(requests_, path_);
    else
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
