#include "JoinedProject.hpp"

namespace SYC {

JoinedProject::JoinedProject(std::shared_ptr<ClientProjectConnectionManager> manager,
                             const OV::UniString& projectId, OV::Executor& home,
                             std::unique_ptr<MailBox> box)
    : manager_(std::move(manager)), members_(manager_->GetSignalClient(), *manager_, home)
{
    const auto cache = manager_->GetCachedProjectInfo();
    if (cache->IsProjectForcedOffline())
        manager_->GetSignalClient().SetForcedOffline(true);
    manager_->StartSignals(projectId);
    members_.Init();
    const IO::Location folder = cache->GetCacheFolderLocation();
    if (MailClient::m_instance == nullptr)
        mails_ = std::make_unique<MailClient>(
            manager_->GetSignalClient(), *manager_, members_, folder, home,
            box ? std::move(box) : std::make_unique<MailBox>(folder));
}

JoinedProject::~JoinedProject()
{
    mails_.reset();
    manager_->StopSignals();
}

}  // namespace SYC
