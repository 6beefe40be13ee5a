#pragma once

#include "Failure.hpp"
#include "Messaging/OverExecutor.hpp"
#include "Messaging/RequestUnderWay.hpp"
#include "Messaging/UserData.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/PKSignalClient.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"
#include "SYClientBase/UserAttributes.hpp"

#include <chrono>
#include <memory>
#include <optional>

namespace SYC {

class OpenedProject;
class ProjectMembers;
struct KnownMembers;
struct MemberNews;

/// Hears of the members of the opened project.
class SYC_API ProjectMembersObserver : public OV::ObserverBase {
public:
    virtual ~ProjectMembersObserver() = default;
    /// The tables were replaced. Told on the members' own executor.
    virtual void _ProjectMembersChanged(ProjectMembers& members) = 0;
    /// The server could not be asked; the tables stay. `problem` tells why, for people.
    virtual void _ProjectMembersNotRefreshed(ProjectMembers& /*members*/,
                                             const OV::UniString& /*problem*/)
    {}
};

/// One member as a refresh found him.
struct ProjectMember {
    std::int16_t id = 0;              ///< short number of the user in this project, 1 to 32767
    UserData data;                    ///< who he is
    SYCB::UserAttributes attributes;  ///< what he may do
};

/// The members of the opened project: who they are, what they may do, who works in it now.
///
/// Made, used and destroyed on one thread, the one that its executor runs on. The server is asked
/// on a worker thread, and nothing here waits for it; the tables change on the own thread alone.
/// Short ids are the server's numbers of the users in this project.
class SYC_API ProjectMembers final : public OverExecutor, private SYCB::PKSignalClientObserver {
public:
    /// Under which the tables stand in files.
    static constexpr OV::ClassInfo ClassInformation{u"ProjectMembers", 1, 0};

    /// The short number of a user in this project, 1 to 32767.
    using MemberId = std::int16_t;
    /// The name that callers know it by.
    using UserData = SYC::UserData;
    /// The members by their short ids.
    using UserDataTable = OV::HashTable<MemberId, UserData>;
    /// Short ids by login names.
    using LoginNameTable = OV::HashTable<OV::UniString, MemberId>;

    /// Everything given outlives the members.
    ProjectMembers(SYCB::PKSignalClient& signalClient,
                   SYCB::ProjectConnectionManagerInterface& manager, OV::Executor& executor);
    /// Ends a request under way, within 100 ms.
    ~ProjectMembers();

    /// Asks the server for the members, and again with every signal of a change. Throws
    /// OV::IllegalArgumentException for a project that was never checked.
    void Init();
    /// Forgets everything; a refresh under way is not applied.
    void Clear();
    /// Forget that table alone, and tell nobody.
    /// @{
    void ClearUserDataTable();
    void ClearPermissionTable();
    /// @}
    /// Asks the server what changed. Nothing before Init.
    void Refresh() { StartRefresh(); }
    /// Whether photos are asked for, which they are unless somebody says otherwise before Init.
    void SetPhotosWanted(bool wanted) noexcept { photosWanted_ = wanted; }
    /// Whether a refresh is under way, of which the observers will hear.
    [[nodiscard]] bool IsRefreshing() const noexcept { return static_cast<bool>(refresh_); }
    /// Why the last refresh failed; none after one that did not.
    [[nodiscard]] const Failure& GetLastFailure() const noexcept { return lastFailure_; }
    /// Whether there was a refresh since Init or Clear, or a Read.
    [[nodiscard]] bool IsKnown() const noexcept { return isKnown_; }
    /// When the tables were true: whoever joined later may be missing. Nothing when nobody knows,
    /// as after a Read.
    using Clock = std::chrono::steady_clock;
    /// See Clock.
    [[nodiscard]] const std::optional<Clock::time_point>& GetAsOf() const noexcept { return asOf_; }

    /// Exactly that login name.
    [[nodiscard]] bool IsMember(const OV::UniString& loginName) const;
    /// Each gives false for an unknown key and then leaves the result as it is.
    [[nodiscard]] bool GetFullNameFromId(MemberId id, OV::UniString& fullName) const;
    /// See GetFullNameFromId.
    /// @{
    [[nodiscard]] bool GetLoginNameFromId(MemberId id, OV::UniString& loginName) const;
    [[nodiscard]] bool GetUserGuidFromId(MemberId id, OV::Guid& guid) const;
    [[nodiscard]] bool GetUserIdFromGuid(const OV::Guid& guid, MemberId& id) const;
    [[nodiscard]] bool GetUserIdFromLoginName(const OV::UniString& loginName, MemberId& id) const;
    [[nodiscard]] bool GetFullNameFromLoginName(const OV::UniString& loginName,
                                                OV::UniString& fullName) const;
    /// @}
    /// The attributes belong to the members and go with the next refresh.
    [[nodiscard]] bool GetUserAttributesFromId(MemberId id,
                                               const SYCB::UserAttributes*& attributes) const;
    /// The photo, or an empty image.
    [[nodiscard]] NewDisplay::NativeImage GetImageFromId(MemberId id) const;

    /// Hold until the next refresh.
    /// @{
    [[nodiscard]] const UserDataTable& GetUserDataTable() const noexcept { return users_; }
    [[nodiscard]] const LoginNameTable& GetLoginNameTable() const noexcept { return loginNames_; }
    /// @}

    /// Puts `members`, true at `asOf`, in the place of what is known and tells the observers. A
    /// short id or a login name that stands twice counts once, the first time. Whatever this
    /// throws, what is known is the former or the new.
    void RefreshProjectMembers(const OV::Array<ProjectMember>& members,
                               std::optional<Clock::time_point> asOf = Clock::now());

    /// The tables without the photos, and the photos of the members that are known, by short id.
    /// Return 0 or an error of the channel; after a failed Read everything is as before.
    [[nodiscard]] OV::ChannelStatus Read(OV::IChannel& channel);
    /// See Read.
    /// @{
    [[nodiscard]] OV::ChannelStatus Write(OV::OChannel& channel) const;
    [[nodiscard]] OV::ChannelStatus ReadPhotos(OV::IChannel& channel);
    [[nodiscard]] OV::ChannelStatus WritePhotos(OV::OChannel& channel) const;
    /// @}

    /// An observer detaches before it is destroyed, or is attached only as long as the answer of
    /// Subscribe lives (see OVRoot/EventSource.hpp). It may outlive this object.
    void Attach(ProjectMembersObserver& observer) { observers_.Attach(observer); }
    /// See Attach.
    /// @{
    void Detach(ProjectMembersObserver& observer) { observers_.Detach(observer); }
    [[nodiscard]] OV::Subscription Subscribe(ProjectMembersObserver& observer)
    {
        return observers_.Subscribe(observer);
    }
    /// @}

private:
    bool _CheckSignalType(Syncra::Protocol::SignalId id) const override;
    void _SignalReceived(const Syncra::Protocol::Signal& signal) override;

    void StartRefresh();
    /// None for who has none.
    [[nodiscard]] SYCB::UserAttributes AttributesOf(MemberId id) const;
    void Apply(const MemberNews& news, Clock::time_point asOf);
    void Replace(const OV::Array<ProjectMember>& members, std::optional<Clock::time_point> asOf);
    /// Ends a refresh however its answer was taken, and begins the one that is wanted.
    class RefreshEnd;
    using PermissionTable = OV::HashTable<MemberId, SYCB::UserAttributes>;
    void TellNotRefreshed(const Failure& failure);

    SYCB::PKSignalClient& signalClient_;
    SYCB::ProjectConnectionManagerInterface& manager_;
    std::shared_ptr<OpenedProject> project_;  ///< from Init on
    UserDataTable users_;
    LoginNameTable loginNames_;
    PermissionTable permissions_;
    bool isKnown_ = false;
    Failure lastFailure_;
    std::optional<Clock::time_point> asOf_;
    /// Tells a refresh that began before Clear from one after it.
    std::uint64_t generation_ = 0;
    RequestUnderWay refresh_;
    bool isWanted_ = false;  ///< one more, behind the one that is under way
    bool photosWanted_ = true;
    /// What the server's answer left us with; null when the tables are not of one.
    std::shared_ptr<const KnownMembers> known_;
    OV::EventSource<ProjectMembersObserver> observers_;
    OV::PooledExecutor worker_;
};

}  // namespace SYC
