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
            if (members_.wanted_ != Wanted::Nothing)
                members_.StartRefresh(members_.wanted_ == Wanted::Photos);
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
    StartRefresh(true);
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
    users_.clear();
    loginNames_.clear();
}

void ProjectMembers::ClearPermissionTable()
{
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

NewDisplay::NativeImage ProjectMembers::GetImageFromId(MemberId id) const
{
    const auto found = users_.find(id);
    return found == users_.end() ? NewDisplay::NativeImage() : found->second.GetImage();
}

void ProjectMembers::RefreshProjectMembers(const OV::Array<ProjectMember>& members,
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

void ProjectMembers::_SignalReceived(const Syncra::Protocol::Signal& signal)
{
    const bool withPhotos = signal.id == Syncra::Protocol::SignalId::MembersChanged;
    GetTarget().Post([this, withPhotos] { StartRefresh(withPhotos); });
}

void ProjectMembers::TellNotRefreshed(const OV::UniString& problem)
{
    OV::Logger::Warning(OV::Logger::Library, u"SYC::ProjectMembers: not refreshed: %", {problem});
    observers_.Notify([&](ProjectMembersObserver& observer) {
        observer._ProjectMembersNotRefreshed(*this, problem);
    });
}

void ProjectMembers::StartRefresh(bool withPhotos)
{
    if (!project_)
        return;
    if (refresh_) {
        wanted_ = std::max(wanted_, withPhotos ? Wanted::Photos : Wanted::Members);
        return;
    }
    wanted_ = Wanted::Nothing;
    PhotoTable known;
    if (!withPhotos)
        for (const auto& [id, user] : users_)
            known.emplace(user.GetUserGuid(), user.GetImage());
    const auto token = refresh_.Begin();
    const auto fail = [this, target = GetTarget(), token](const OV::UniString& problem) {
        target.Post([this, problem, token] {
            const RefreshEnd end(*this, token);
            TellNotRefreshed(problem);
        });
    };
    const auto fetch = [this, project = project_, known, generation = generation_,
                        asOf = Clock::now(), target = GetTarget(), token, fail] {
        try {
            const auto members =
                std::make_shared<OV::Array<ProjectMember>>(FetchMembers(*project, known));
            target.Post([this, members, generation, asOf, token] {
                const RefreshEnd end(*this, token);
                try {
                    if (generation == generation_)
                        RefreshProjectMembers(*members, asOf);
                } catch (...) {
                    TellNotRefreshed(OV::DescribeCurrentException());
                }
            });
        } catch (...) {
            fail(OV::DescribeCurrentException());
        }
    };
    if (!worker_.Execute(OV::MakeTask(fetch)))
        fail(OV::UniString(NoThread));
}

OV::ChannelStatus ProjectMembers::Write(OV::OChannel& channel) const
{
    OV::FieldWriter stream(channel, ClassInformation);
    stream.Elements(users_, [this](OV::FieldWriter& each, const auto& entry) {
        const auto found = permissions_.find(entry.first);
        const auto& attributes =
            found == permissions_.end() ? SYCB::UserAttributes() : found->second;
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
