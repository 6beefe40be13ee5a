#include "Messaging/Detail/MemberRequests.hpp"

#include "Display/ImageCoding.hpp"
#include "Messaging/Detail/OpenedProject.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/SecureWipe.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/ProjectURL.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYCommunication/PagedReading.hpp"
#include "SyncraProtocol/ErrorCode.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

namespace SYC {

namespace {

using Syncra::Client::SyncraClient;
using Syncra::Protocol::Member;
using Syncra::Server::Management::CreateUserRepository;
using Syncra::Server::Management::UserRepository;
namespace PropertyNames = Syncra::Server::Management::PropertyNames;

/// A session is a person at work unless a service says otherwise.
bool IsNormalSession(SyncraClient& client, const OV::UniString& sessionId)
{
    try {
        const auto type = client.GetSessionAttribute(
            sessionId, Syncra::Protocol::SessionAttributeNames::SessionType);
        return type.empty() || type == Syncra::Protocol::NormalSessionType;
    } catch (const Communication::ResponseContentException& refusal) {
        if (refusal.GetErrorCode() != static_cast<int>(Syncra::Protocol::ErrorCode::NotFound))
            throw;
        return false;  // it ended since it was listed
    }
}

OV::HashSet<OV::UniString> LoginsAtWork(SyncraClient& client, const OV::UniString& projectId)
{
    OV::HashSet<OV::UniString> logins;
    for (const auto& session : client.GetAllSessions(projectId))
        if (IsNormalSession(client, session.id))
            logins.insert(session.loginName);
    return logins;
}

/// The name under which the opened project's server answers, and its ports are kept.
OV::UniString HostOf(const OpenedProject& project)
{
    const auto& location = project.GetLocation();
    return SYCB::ConnectionValidator::GetInstance().GetWorkingHost(SYCB::GetServerName(location),
                                                                   location.GetPort());
}

/// The user repository of the opened project's server; null when the server lists none.
std::unique_ptr<UserRepository> OpenUserRepository(const OpenedProject& project)
{
    const auto& location = project.GetLocation();
    const OV::UniString host = HostOf(project);
    const OV::Secret password = project.GetPassword();
    const auto port = SYCB::ServicePortCache::GetInstance().GetServicePort(
        host, location.GetPort(), project.GetLoginName(), password, SYCB::ServiceType::Management,
        true);
    if (port == 0)
        return nullptr;
    auto properties =
        Syncra::Server::Management::MakeProperties(host, port, project.GetLoginName(), password);
    const OV::SecureWipeGuard<char16_t> wipeCopy(
        properties[PropertyNames::UserRepositoryCredentials]);
    return CreateUserRepository(u"WBEM", properties);
}

NewDisplay::NativeImage FetchPhoto(UserRepository& users, const OV::UniString& loginName)
{
    try {
        const auto photo = users.GetUserPhoto(loginName);
        if (photo.type == u"image/png" || photo.type == u"image/jpeg")
            return NewDisplay::DecodeImage(photo.data, photo.type);
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (const Communication::ConnectionException&) {
        throw;
    } catch (const std::exception& error) {
        OV::Logger::Warning(OV::Logger::Library, u"SYC::ProjectMembers: no photo of %: %",
                            {loginName, error.what()});
    }
    return {};
}

constexpr std::uint64_t BytesPerPixel = 4;

/// Completes `photos` with those of `members` that it lacks.
void FetchPhotos(OpenedProject& project, const OV::Array<Member>& members, PhotoTable& photos)
{
    std::unique_ptr<UserRepository> users;
    // A few bytes of the wire may be a large picture.
    Communication::PagedReading reading(u"the photos", {std::uint64_t{1} << 30, members.size()});
    try {
        for (const auto& member : members) {
            if (photos.contains(member.guid))
                continue;
            if (!users)
                users = OpenUserRepository(project);
            if (!users)
                return;
            const auto& photo =
                photos.emplace(member.guid, FetchPhoto(*users, member.loginName)).first->second;
            reading.TakePage(BytesPerPixel * photo.GetWidth() * photo.GetHeight(), 1, false);
        }
    } catch (const OV::InterruptedException&) {
        throw;
    } catch (const std::exception& error) {
        // The members count without their photos.
        SYCB::ServicePortCache::GetInstance().Forget(HostOf(project),
                                                     project.GetLocation().GetPort());
        OV::Logger::Warning(OV::Logger::Library, u"SYC::ProjectMembers: no photos: %",
                            {error.what()});
    }
}

}  // namespace

OV::Array<ProjectMember> FetchMembers(OpenedProject& project, const PhotoTable& knownPhotos)
{
    OV::Array<Member> records;
    OV::HashSet<OV::UniString> atWork;
    project.Ask([&](SyncraClient& client) {
        records = client.GetProjectMembersEx(project.GetProjectId());
        atWork = LoginsAtWork(client, project.GetProjectId());
    });
    PhotoTable photos = knownPhotos;
    FetchPhotos(project, records, photos);
    OV::Array<ProjectMember> members;
    members.reserve(records.size());
    for (auto& record : records) {
        ProjectMember member{record.id,
                             UserData(record.loginName, record.fullName, record.guid,
                                      photos[record.guid], record.color),
                             {record.roleName, std::move(record.permissions)}};
        member.data.SetNormalSession(atWork.contains(record.loginName));
        members.push_back(std::move(member));
    }
    return members;
}

}  // namespace SYC
