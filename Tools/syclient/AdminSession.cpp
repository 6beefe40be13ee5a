#include "AdminSession.hpp"

#include "ManagementTool/ServerConnectionManager.hpp"
#include "OVRoot/Ascii.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

#include <algorithm>

using ManagementCore::ProjectRepositoryManager;
using ManagementCore::UserRepositoryManager;

namespace {

ExitCode ExitCodeOfRequest(const ManagementCore::RequestFailure& failure)
{
    switch (failure.type) {
    case ManagementCore::ErrorType::CannotConnect:
        return ExitCode::Offline;
    case ManagementCore::ErrorType::ObjectRemoved:
    case ManagementCore::ErrorType::ObjectMissing:
        return ExitCode::NotFound;
    default:
        return ExitCodeOfRefusal(failure.code);
    }
}

ManagementCore::ServerConnectionManager& Tool()
{
    return ManagementCore::ServerConnectionManager::GetInstance();
}

/// Asks the model service for the port of the management service.
class FindPortTask final : public TerminalWait::Task {
public:
    FindPortTask(const ServerArguments& server, OV::Secret password)
        : server_(OV::FromUtf8(server.server)), port_(server.port),
          user_(OV::FromUtf8(server.user)), password_(std::move(password))
    {}

    /// 0 when the server lists none.
    std::uint16_t found = 0;
    std::exception_ptr failure;

private:
    bool RunTask() override
    {
        try {
            found = SYCB::ServicePortCache::GetInstance().GetServicePort(
                server_, port_, user_, password_, SYCB::ServiceType::Management, true);
        } catch (...) {
            failure = std::current_exception();
        }
        return true;
    }

    OV::UniString server_;
    std::uint16_t port_;
    OV::UniString user_;
    OV::Secret password_;
};

std::uint16_t FindPort(TerminalWait& wait, const ServerArguments& server,
                       const OV::Secret& password)
{
    const auto task = OV::MakeRef<FindPortTask>(server, password);
    if (!wait.ExecuteTask(task, nullptr, TerminalWait::UsualDelayMilliseconds))
        throw CommandFailure(ExitCode::Failure, u"");  // cancelled, and told
    if (task->failure)
        std::rethrow_exception(task->failure);
    if (task->found == 0)
        throw CommandFailure(ExitCode::Failure,
                             u"The server lists no management service; it cannot be administered.");
    return task->found;
}

}  // namespace

const NameTable::Names& NameTable::Known()
{
    if (!isFetched_)
        names_ = fetch_();
    isFetched_ = true;
    return names_;
}

OV::UniString NameTable::NameOf(const OV::UniString& id)
{
    const auto found = Known().find(id);
    return found == Known().end() ? id : found->second;
}

OV::UniString NameTable::IdOf(const std::string& name)
{
    const auto wanted = OV::FromUtf8(name);
    const auto found = std::find_if(Known().begin(), Known().end(), [&wanted](const auto& known) {
        return OV::EqualsIgnoreCase(known.second, wanted);
    });
    if (found == Known().end())
        throw CommandFailure(ExitCode::NotFound, u"There is no " + kind_ + u" \"" + wanted +
                                                     u"\" on the server, or you may not see it.");
    return found->first;
}

AdminSession::AdminSession(Context& context, const ServerArguments& server)
    : users(u"user", Fetch(&UserRepositoryManager::GetUsers, &Management::User::loginName)),
      groups(u"group", Fetch(&UserRepositoryManager::GetGroups, &Management::Group::name)),
      roles(u"role", Fetch(&UserRepositoryManager::GetRoles, &Management::Role::name)),
      permissions(u"permission",
                  Fetch(&UserRepositoryManager::GetPermissions, &Management::Permission::name)),
      permissionSets(u"permission set", Fetch(&UserRepositoryManager::GetPermissionSets,
                                              &Management::PermissionSet::name)),
      properties(u"property", Fetch(&UserRepositoryManager::GetCustomPropertyDefinitions,
                                    &Management::CustomPropertyDefinition::name)),
      context_(context), server_(server), wait_(context.output), password_(server.ReadPassword()),
      managementPort_(FindPort(wait_, server, password_))
{}

template <class Record>
std::function<NameTable::Names()>
AdminSession::Fetch(bool (UserRepositoryManager::*list)(OV::Array<Record>&),
                    OV::UniString Record::*name)
{
    return [this, list, name] {
        OV::Array<Record> records;
        Do(Users(), list, records);
        NameTable::Names names;
        for (const Record& record : records)
            names[record.id] = record.*name;
        return names;
    };
}

template <class Manager>
Manager& AdminSession::Connected(Manager& manager)
{
    if (!manager.IsConnected())
        Do(manager, &Manager::SetConnection, OV::FromUtf8(server_.server),
           static_cast<short>(managementPort_), OV::FromUtf8(server_.user), password_, true);
    return manager;
}

UserRepositoryManager& AdminSession::Users()
{
    return Connected(*Tool().GetUserManager());
}

ProjectRepositoryManager& AdminSession::Projects()
{
    return Connected(*Tool().GetProjectManager());
}

void AdminSession::Fail(const ManagementCore::RequestFailure& failure)
{
    throw CommandFailure(ExitCodeOfRequest(failure), failure.sentence);
}
