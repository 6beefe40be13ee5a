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
#include "SyncraServerManagement/UserRepository.hpp"

namespace SYC {

namespace {

using Syncra::Client::SyncraClient;
using Syncra::Server::Management::CreateUserRepository;
using Syncra::Server::Management::UserRepository;
namespace PropertyNames = Syncra::Server::Management::PropertyNames;

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

/// Nothing when the server refuses it now.
std::optional<NewDisplay::NativeImage> FetchPhoto(UserRepository& users,
                                                  const OV::UniString& loginName)
{
    bool isRefused = true;
    try {
        const auto photo = users.GetUserPhoto(loginName);
        isRefused = false;
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
    return isRefused ? std::nullopt : std::optional<NewDisplay::NativeImage>(std::in_place);
}

constexpr std::uint64_t BytesPerPixel = 4;

/// Fetches what the server has another photo of than the tables.
void FetchPhotos(OpenedProject& project, PhotoStates& photos, PhotoTable& images)
{
    std::unique_ptr<UserRepository> users;
    // A few bytes of the wire may be a large picture.
    Communication::PagedReading reading(u"the photos", {std::uint64_t{1} << 30, photos.size()});
    try {
        for (auto& [guid, state] : photos) {
            if (state.here == state.latest)
                continue;
            if (!state.latest.empty() && !users) {
                users = OpenUserRepository(project);
                if (!users)
                    return;
            }
            auto photo = state.latest.empty()
                             ? std::optional<NewDisplay::NativeImage>(std::in_place)
                             : FetchPhoto(*users, state.loginName);
            if (!photo)
                continue;
            reading.TakePage(BytesPerPixel * photo->GetWidth() * photo->GetHeight(), 1, false);
            images.insert_or_assign(guid, *std::move(photo));
            state.here = state.latest;
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

/// What is known of the photos once these changes are known.
PhotoStates After(const PhotoStates& before, const Syncra::Protocol::MemberChanges& changes)
{
    PhotoStates after = changes.isWhole ? PhotoStates() : before;
    for (const auto& guid : changes.gone)
        after.erase(guid);
    for (const auto& member : changes.members) {
        const auto found = before.find(member.guid);
        after.insert_or_assign(
            member.guid, PhotoState{member.loginName, member.photo,
                                    found == before.end() ? OV::UniString() : found->second.here});
    }
    return after;
}

}  // namespace

MemberNews FetchMembers(OpenedProject& project, const std::shared_ptr<const KnownMembers>& known,
                        bool withPhotos)
{
    const KnownMembers before = known ? *known : KnownMembers();
    MemberNews news;
    project.Ask([&](SyncraClient& client) {
        news.changes = client.GetProjectMembersEx(project.GetProjectId(), before.place);
    });
    KnownMembers after{news.changes.place, After(before.photos, news.changes)};
    if (withPhotos)
        FetchPhotos(project, after.photos, news.images);
    news.known = std::make_shared<const KnownMembers>(std::move(after));
    return news;
}

}  // namespace SYC
