#include "Messaging/ProjectMembers.hpp"

#include "Messaging/Detail/MemberRequests.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>

namespace SYC {

namespace {

constexpr std::uint32_t KeepAliveMilliseconds = 30'000;

/// The value under `key` through `get`; false when there is none.
template <class Table, class Result, class Get>
bool LookUp(const Table& table, const typename Table::key_type& key, Result& result, Get get)
{
    const auto found = table.find(key);
    if (found == table.end())
        return false;
    result = get(found->second);
    return true;
}

constexpr auto TransferMember = [](auto& stream, auto& id, auto& user, auto& attributes) {
    OV::TransferFields(stream, id, user, attributes.roleName);
    stream.Elements(attributes.permissions, OV::TransferFields);
};

}  // namespace

class ProjectMembers::RefreshEnd {
public:
    RefreshEnd(ProjectMembers& members, const RequestUnderWay::Token& token) noexcept
        : members_(members)
    {
        token.End();
    }
    ~RefreshEnd()
    {
        try {
            if (members_.isWanted_)
                members_.StartRefresh();
        } catch (...) {
            OV::LogCurrentException(OV::Logger::Library, u"SYC::ProjectMembers: % not refreshed: %",
                                    u"the members are");
        }
    }
    RefreshEnd(const RefreshEnd&) = delete;
    RefreshEnd& operator=(const RefreshEnd&) = delete;

private:
    ProjectMembers& members_;
};

ProjectMembers::ProjectMembers(SYCB::PKSignalClient& signalClient,
                               SYCB::ProjectConnectionManagerInterface& manager,
                               OV::Executor& executor)
    : OverExecutor(&executor), signalClient_(signalClient), manager_(manager),
      worker_(1, 1, KeepAliveMilliseconds)
{
    signalClient_.Attach(*this);
}

ProjectMembers::~ProjectMembers()
{
    ToDestroy();
    signalClient_.Detach(*this);
    worker_.Cancel();
    worker_.AwaitTermination();
}

void ProjectMembers::Init()
{
    project_ = std::make_shared<OpenedProject>(manager_);
    known_ = nullptr;
    StartRefresh();
}

void ProjectMembers::Clear()
{
    ++generation_;
    isKnown_ = false;
    asOf_.reset();
    ClearUserDataTable();
    ClearPermissionTable();
}

void ProjectMembers::ClearUserDataTable()
{
    known_ = nullptr;
    users_.clear();
    loginNames_.clear();
}

void ProjectMembers::ClearPermissionTable()
{
    known_ = nullptr;
    permissions_.clear();
}

bool ProjectMembers::IsMember(const OV::UniString& loginName) const
{
    return loginNames_.contains(loginName);
}

bool ProjectMembers::GetFullNameFromId(MemberId id, OV::UniString& fullName) const
{
    return LookUp(users_, id, fullName, [](const UserData& user) { return user.GetFullName(); });
}

bool ProjectMembers::GetLoginNameFromId(MemberId id, OV::UniString& loginName) const
{
    return LookUp(users_, id, loginName, [](const UserData& user) { return user.GetLoginName(); });
}

bool ProjectMembers::GetUserGuidFromId(MemberId id, OV::Guid& guid) const
{
    return LookUp(users_, id, guid, [](const UserData& user) { return user.GetUserGuid(); });
}

bool ProjectMembers::GetUserIdFromGuid(const OV::Guid& guid, MemberId& id) const
{
    const auto found = std::find_if(users_.begin(), users_.end(), [&](const auto& entry) {
        return entry.second.GetUserGuid() == guid;
    });
    if (found == users_.end())
        return false;
    id = found->first;
    return true;
}

bool ProjectMembers::GetUserIdFromLoginName(const OV::UniString& loginName, MemberId& id) const
{
    return LookUp(loginNames_, loginName, id, [](MemberId found) { return found; });
}

bool ProjectMembers::GetFullNameFromLoginName(const OV::UniString& loginName,
                                              OV::UniString& fullName) const
{
    MemberId id = 0;
    return GetUserIdFromLoginName(loginName, id) && GetFullNameFromId(id, fullName);
}

bool ProjectMembers::GetUserAttributesFromId(MemberId id,
                                             const SYCB::UserAttributes*& attributes) const
{
    return LookUp(permissions_, id, attributes,
                  [](const SYCB::UserAttributes& found) { return &found; });
}

SYCB::UserAttributes ProjectMembers::AttributesOf(MemberId id) const
{
    const auto found = permissions_.find(id);
    return found == permissions_.end() ? SYCB::UserAttributes() : found->second;
}

NewDisplay::NativeImage ProjectMembers::GetImageFromId(MemberId id) const
{
    const auto found = users_.find(id);
    return found == users_.end() ? NewDisplay::NativeImage() : found->second.GetImage();
}

void ProjectMembers::RefreshProjectMembers(const OV::Array<ProjectMember>& members,
                                           std::optional<Clock::time_point> asOf)
{
    known_ = nullptr;
    Replace(members, asOf);
}

void ProjectMembers::Replace(const OV::Array<ProjectMember>& members,
                             std::optional<Clock::time_point> asOf)
{
    UserDataTable users;
    LoginNameTable loginNames;
    PermissionTable permissions;
    for (const auto& [id, data, attributes] : members) {
        if (users.contains(id) || !loginNames.emplace(data.GetLoginName(), id).second)
            continue;
        users.emplace(id, data);
        permissions.emplace(id, attributes);
    }
    users_.swap(users);
    loginNames_.swap(loginNames);
    permissions_.swap(permissions);
    isKnown_ = true;
    asOf_ = asOf;
    observers_.Notify(
        [this](ProjectMembersObserver& observer) { observer._ProjectMembersChanged(*this); });
}

bool ProjectMembers::_CheckSignalType(Syncra::Protocol::SignalId id) const
{
    using Syncra::Protocol::SignalId;
    return id == SignalId::MembersChanged || id == SignalId::SessionsChanged;
}

void ProjectMembers::_SignalReceived(const Syncra::Protocol::Signal&)
{
    GetTarget().Post([this] { StartRefresh(); });
}

void ProjectMembers::TellNotRefreshed(const Failure& failure)
{
    OV::Logger::Warning(OV::Logger::Library, u"SYC::ProjectMembers: not refreshed: %",
                        {failure.sentence});
    lastFailure_ = failure;
    observers_.Notify([&](ProjectMembersObserver& observer) {
        observer._ProjectMembersNotRefreshed(*this, failure.sentence);
    });
}

void ProjectMembers::StartRefresh()
{
    if (!project_)
        return;
    isWanted_ = static_cast<bool>(refresh_);
    if (isWanted_)
        return;
    const auto token = refresh_.Begin();
    const auto fail = [this, target = GetTarget(), token](const Failure& failure) {
        target.Post([this, failure, token] {
            const RefreshEnd end(*this, token);
            TellNotRefreshed(failure);
        });
    };
    const auto fetch = [this, project = project_, known = known_, withPhotos = photosWanted_,
                        generation = generation_, asOf = Clock::now(), target = GetTarget(), token,
                        fail] {
        try {
            const auto news =
                std::make_shared<const MemberNews>(FetchMembers(*project, known, withPhotos));
            target.Post([this, known, news, generation, asOf, token] {
                const RefreshEnd end(*this, token);
                try {
                    // What others put into the tables meanwhile is not what was asked about.
                    if (generation == generation_ && known_ == known)
                        Apply(*news, asOf);
                    else
                        isWanted_ = isWanted_ || generation == generation_;
                    lastFailure_ = {};
                } catch (...) {
                    TellNotRefreshed(DescribeException());
                }
            });
        } catch (...) {
            fail(DescribeException());
        }
    };
    if (!worker_.Execute(OV::MakeTask(fetch)))
        fail(NoThreadFailure());
}

void ProjectMembers::Apply(const MemberNews& news, Clock::time_point asOf)
{
    OV::HashTable<OV::Guid, ProjectMember> members;
    for (const auto& [id, user] : users_)
        members.emplace(user.GetUserGuid(), ProjectMember{id, user, AttributesOf(id)});
    for (const auto& guid : news.changes.gone)
        members.erase(guid);
    OV::Array<ProjectMember> list;
    const auto add = [&](ProjectMember member) {
        const auto image = news.images.find(member.data.GetUserGuid());
        if (image != news.images.end())
            member.data.SetImage(image->second);
        list.push_back(std::move(member));
    };
    for (const auto& record : news.changes.members) {
        const auto former = members.extract(record.guid);
        auto photo = former ? former.mapped().data.GetImage() : NewDisplay::NativeImage();
        ProjectMember member{record.id,
                             UserData(record.loginName, record.fullName, record.guid,
                                      std::move(photo), record.color),
                             {record.roleName, record.permissions}};
        // A session is a person at work unless a service says otherwise.
        member.data.SetNormalSession(record.session == Syncra::Protocol::NormalSessionType);
        member.data.SetWork(record.workingSince, record.computer);
        add(std::move(member));
    }
    if (!news.changes.isWhole)
        for (auto& [guid, member] : members)
            add(std::move(member));
    known_ = news.known;
    Replace(list, asOf);
}

OV::ChannelStatus ProjectMembers::Write(OV::OChannel& channel) const
{
    OV::FieldWriter stream(channel, ClassInformation);
    stream.Elements(users_, [this](OV::FieldWriter& each, const auto& entry) {
        const auto attributes = AttributesOf(entry.first);
        TransferMember(each, entry.first, entry.second, attributes);
    });
    return stream.Status();
}

OV::ChannelStatus ProjectMembers::Read(OV::IChannel& channel)
{
    OV::FieldReader stream(channel, ClassInformation);
    OV::Array<ProjectMember> members;
    stream.Elements(members, [](OV::FieldReader& each, ProjectMember& member) {
        TransferMember(each, member.id, member.data, member.attributes);
    });
    if (stream.IsGood())
        RefreshProjectMembers(members, std::nullopt);
    return stream.Status();
}

OV::ChannelStatus ProjectMembers::WritePhotos(OV::OChannel& channel) const
{
    OV::FieldWriter stream(channel);
    stream.Elements(users_, [](OV::FieldWriter& each, const auto& entry) {
        each(entry.first);
        each.Then([&](OV::OChannel& photos) { return entry.second.WritePhoto(photos); });
    });
    return stream.Status();
}

OV::ChannelStatus ProjectMembers::ReadPhotos(OV::IChannel& channel)
{
    OV::FieldReader stream(channel);
    stream.Repeat([this](OV::FieldReader& each) {
        MemberId id = 0;
        each(id);
        UserData nobody;
        const auto known = users_.find(id);
        auto& user = known == users_.end() ? nobody : known->second;
        each.Then([&](OV::IChannel& photos) { return user.ReadPhoto(photos); });
    });
    return stream.Status();
}

}  // namespace SYC
