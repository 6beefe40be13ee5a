#include "CreateNewSyncraProject.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "Flow/Detail/Repositories.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Thread.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"

#include <algorithm>

namespace SYC {

namespace {

using Syncra::Client::SignInData;
using Syncra::Server::Management::ProjectRepository;

/// As servers want names to be.
bool IsUsableName(const OV::UniString& name)
{
    constexpr std::size_t longest = 128;
    return name.size() <= longest && name.front() != u' ' && name.back() != u' ' &&
           std::none_of(name.begin(), name.end(), [](char16_t c) { return c < u' ' || c == 0x7F; });
}

/// One client for all names that are typed, used by one thread at a time.
class NameAsker {
public:
    [[nodiscard]] bool Exists(const SignInData& login, const OV::UniString& name)
    {
        const OV::LockGuard guard(lock_);
        if (!client_)
            client_ = SYCB::CreateSyncraClient(login);
        return client_->ProjectExists(name);
    }

private:
    OV::Lock lock_;
    std::unique_ptr<Syncra::Client::SyncraClient> client_ OV_GUARDED_BY(lock_);
};

}  // namespace

class CreateNewSyncraProject::NameCheck final : public Flow {
public:
    using Told = std::function<void(NameState)>;

    NameCheck(const FlowExecutors& executors, Told told) : Flow(executors), told_(std::move(told))
    {}

    void Ask(const SignInData& login, const OV::UniString& name)
    {
        Start([this, login, name, asker = asker_](const Report&) -> Result {
            constexpr std::uint32_t pause = 250;
            OV::Thread::Sleep(pause);
            NameState state = NameState::Unknown;
            try {
                state = asker->Exists(login, name) ? NameState::Taken : NameState::Free;
            } catch (const OV::InterruptedException&) {
                throw;
            } catch (...) {
                return {[this] { told_(NameState::Unknown); }, DescribeException()};
            }
            return {[this, state] { told_(state); }, {}};
        });
    }
    void Forget() { Reset(); }

private:
    Told told_;
    std::shared_ptr<NameAsker> asker_ = std::make_shared<NameAsker>();
};

CreateNewSyncraProject::CreateNewSyncraProject(SignInData login, const FlowExecutors& executors)
    : Flow(executors), login_(std::move(login)),
      nameCheck_(std::make_unique<NameCheck>(executors, [this](NameState state) {
          nameState_ = state;
          NotifyChanged();
      }))
{
    data_.SetServerName(login_.serverName);
    data_.SetServerPort(static_cast<std::int16_t>(login_.port));
    data_.SetUserName(login_.userName);
    data_.SetPassword(login_.password);
}

CreateNewSyncraProject::~CreateNewSyncraProject() = default;

void CreateNewSyncraProject::SetName(const OV::UniString& name)
{
    data_.SetProjectName(name);
    nameCheck_->Forget();
    nameState_ = name.empty()          ? NameState::Empty
                 : !IsUsableName(name) ? NameState::Unusable
                                       : NameState::Checking;
    if (nameState_ == NameState::Checking)
        nameCheck_->Ask(login_, name);
    NotifyChanged();
}

OV::UniString CreateNewSyncraProject::GetNameText() const
{
    switch (nameState_) {
    case NameState::Unusable:
        return GetText(FlowText::NameUnusable);
    case NameState::Checking:
        return GetText(FlowText::NameChecking);
    case NameState::Taken:
        return GetText(FlowText::NameTaken);
    case NameState::Unknown:
        return GetText(FlowText::NameUnknown);
    case NameState::Empty:
    case NameState::Free:
        break;
    }
    return {};
}

void CreateNewSyncraProject::Create()
{
    nameCheck_->Forget();
    location_ = {};
    data_.InitNewProject();
    data_.InitMemberList(members_);
    Start([this, login = login_, project = data_.GetProject()](const Report& report) -> Result {
        report(GetText(FlowText::MakeProject));
        if (project.name.empty() || !IsUsableName(project.name))
            return {{}, MakeFailure(FailureKind::WrongInput)};
        if (SYCB::CreateSyncraClient(login)->ProjectExists(project.name))
            return {[this] { nameState_ = NameState::Taken; }, MakeFailure(FailureKind::NameTaken)};
        auto failure = ChangeOnServer<ProjectRepository>(
            login,
            [&](ProjectRepository& repository) { (void)repository.Projects().Insert(project); },
            [&] { return ConnectQuickly(login)->ProjectExists(project.name); });
        if (failure)
            return {{}, std::move(failure)};
        return {[this] { data_.ToSyncraLocation(location_); }, {}};
    });
}

}  // namespace SYC
