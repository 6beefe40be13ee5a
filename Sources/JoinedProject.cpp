#include "JoinedProject.hpp"

namespace SYC {

JoinedProject::JoinedProject(std::unique_ptr<ClientProjectConnectionManager> manager,
                             const OV::UniString& projectId, OV::Executor& home)
    : manager_(std::move(manager)), members_(manager_->GetSignalClient(), *manager_, home)
{
    manager_->StartSignals(projectId);
    members_.Init();
    if (MailClient::m_instance == nullptr)
        mails_ = std::make_unique<MailClient>(
            manager_->GetSignalClient(), *manager_, members_,
            manager_->GetCachedProjectInfo()->GetCacheFolderLocation(), home);
}

JoinedProject::~JoinedProject()
{
    mails_.reset();
    manager_->StopSignals();
}

}  // namespace SYC
