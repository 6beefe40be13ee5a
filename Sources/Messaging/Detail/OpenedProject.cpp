#include "Messaging/Detail/OpenedProject.hpp"

#include "SYClientBase/PasswordCoding.hpp"
#include "SYClientBase/ProjectURL.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

namespace SYC {

namespace {

OV::UniString RequireProjectId(SYCB::ProjectConnectionManagerInterface& manager)
{
    const auto cache = manager.GetCachedProjectInfo();
    OV::UniString id = cache ? cache->GetProjectId() : OV::UniString();
    if (id.empty())
        throw OV::IllegalArgumentException(
            u"Project " + manager.GetProjectLocation().ToDisplayText() +
            u" has not been opened on this machine yet. Open it first.");
    return id;
}

}  // namespace

OpenedProject::OpenedProject(SYCB::ProjectConnectionManagerInterface& manager)
    : manager_(manager), location_(manager.GetProjectLocation()),
      projectId_(RequireProjectId(manager)),
      userFullName_(manager.GetCachedProjectInfo()->GetUserName())
{}

void OpenedProject::SetPassword(const OV::Secret& password)
{
    Client former;  // ended when the lock is free again
    const OV::LockGuard guard(lock_);
    password_ = password;
    ++passwordNumber_;
    former = std::move(idle_);
}

OV::Secret OpenedProject::GetPassword() const
{
    {
        const OV::LockGuard guard(lock_);
        if (password_)
            return *password_;
    }
    return SYCB::DecodePassword(location_.GetPassword());
}

OpenedProject::Client OpenedProject::Take(std::uint64_t& passwordNumber)
{
    {
        const OV::LockGuard guard(lock_);
        passwordNumber = passwordNumber_;
        if (idle_)
            return std::move(idle_);
    }
    return SYCB::CreateSyncraClientOnOpenedProject(manager_, SYCB::GetServerName(location_),
                                                   location_.GetPort(), location_.GetUserName(),
                                                   GetPassword());
}

void OpenedProject::Ask(const std::function<void(Syncra::Client::SyncraClient&)>& ask)
{
    std::uint64_t passwordNumber = 0;
    Client client = Take(passwordNumber);
    ask(*client);
    const OV::LockGuard guard(lock_);
    // One that signed in with a former password serves no further request. What is left in `client`
    // ends when the lock is free again.
    if (passwordNumber == passwordNumber_)
        std::swap(idle_, client);
}

}  // namespace SYC
