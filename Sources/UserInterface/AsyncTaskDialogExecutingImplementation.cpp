#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

#include "Dlg/WarningAlert.hpp"
#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Resources.hpp"
#include "UserInterface/AsyncTaskDialog.hpp"
#include "UserInterface/TrustServerQuestion.hpp"

namespace Syncra::Server::ManagementTool::GUI {

using Core::ErrorType;
using Core::ObjectType;

namespace {

/// The numbers of the resources.
namespace Alert {
constexpr int RoleExists = 32003;
constexpr int CannotConnect = 32013;
constexpr int CategoryExists = 32016;
constexpr int ObjectRemoved = 32017;
constexpr int ServerRefused = 32018;
constexpr int CustomPropertyExists = 32022;
}  // namespace Alert
constexpr int OkWord = 24;
constexpr int InvalidLoginName = 31;

void ShowNameCollision(ObjectType object, const OV::UniString* name)
{
    switch (object) {
    case ObjectType::CustomProperty:
        if (name != nullptr)
            OV::ShowAlert(Alert::CustomPropertyExists, {*name});
        break;
    case ObjectType::ProjectCategory:
        if (name != nullptr)
            OV::ShowAlert(Alert::CategoryExists, {*name});
        break;
    case ObjectType::User:
        Dlg::ShowWarningAlert({},
                              OV::GetStringListItem(SYC::TextLists::TaskProgress, InvalidLoginName),
                              OV::GetStringListItem(SYC::TextLists::TaskProgress, OkWord));
        break;
    case ObjectType::Role:
        OV::ShowAlert(Alert::RoleExists);
        break;
    default:
        break;
    }
}

}  // namespace

bool AsyncTaskDialogExecutingImplementation::ExecuteTask(
    const OV::Ref<Core::AsyncTaskExecuting::Task>& task, OV::Executor* executor,
    std::uint32_t delayMilliseconds)
{
    if (std::this_thread::get_id() != mainThread_)
        return UserAsyncTaskExecutingImplementation::ExecuteTask(task, executor, delayMilliseconds);
    return AsyncTaskDialog(task, delayMilliseconds, executor).Invoke();
}

short AsyncTaskDialogExecutingImplementation::ShowAlert(ErrorType error, ObjectType object,
                                                        const OV::UniString* name)
{
    switch (error) {
    case ErrorType::CannotConnect:
        return static_cast<short>(OV::ShowAlert(Alert::CannotConnect));
    case ErrorType::ObjectRemoved:
    case ErrorType::ObjectMissing:
        if (object != ObjectType::None)
            OV::ShowAlert(Alert::ObjectRemoved, {OV::GetStringListItem(SYC::TextLists::ObjectWords,
                                                                       static_cast<int>(object))});
        return 0;
    case ErrorType::NameAlreadyExists:
        ShowNameCollision(object, name);
        return 0;
    case ErrorType::ServerRefused:
    case ErrorType::RequestFailed:
        OV::ShowAlert(Alert::ServerRefused);
        return 0;
    case ErrorType::NoError:
    case ErrorType::OtherError:
        break;
    }
    return 0;
}

void SetAsyncTaskDialogExecutingImplementationForCore()
{
    static auto& withDialogs = *new AsyncTaskDialogExecutingImplementation;
    static auto& question = *new TrustServerQuestion;
    Communication::ServerTrust::GetInstance().SetQuestion(&question);
    Core::SetUserAsyncTaskExecutingImplementation(&withDialogs);
}

}  // namespace Syncra::Server::ManagementTool::GUI
