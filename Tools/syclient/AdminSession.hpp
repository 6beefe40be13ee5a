#pragma once

#include "Command.hpp"
#include "Context.hpp"
#include "ManagementTool/ProjectRepositoryManager.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "OVRoot/Secret.hpp"
#include "ServerArguments.hpp"
#include "TerminalWait.hpp"

#include <functional>
#include <map>

namespace ManagementCore = Syncra::Server::ManagementTool::Core;
namespace Management = Syncra::Server::Management;

/// Names of a server's objects of one kind by their identifiers, and back; asked when first needed.
class NameTable {
public:
    using Names = std::map<OV::UniString, OV::UniString>;

    NameTable(OV::UniString kind, std::function<Names()> fetch)
        : kind_(std::move(kind)), fetch_(std::move(fetch))
    {}
    /// The identifier itself when the user may not see the object.
    [[nodiscard]] OV::UniString NameOf(const OV::UniString& id);
    /// In any ASCII letter case. Throws CommandFailure.
    [[nodiscard]] OV::UniString IdOf(const std::string& name);

private:
    const Names& Known();

    OV::UniString kind_;
    std::function<Names()> fetch_;
    bool isFetched_ = false;
    Names names_;
};

/// The management service of a server for one command. A repository is connected when it is first
/// asked for. Failures throw CommandFailure.
class AdminSession {
public:
    AdminSession(Context& context, const ServerArguments& server);
    AdminSession(const AdminSession&) = delete;
    AdminSession& operator=(const AdminSession&) = delete;

    [[nodiscard]] Context& GetContext() const noexcept { return context_; }
    [[nodiscard]] const ServerArguments& Server() const noexcept { return server_; }
    [[nodiscard]] ManagementCore::UserRepositoryManager& Users();
    [[nodiscard]] ManagementCore::ProjectRepositoryManager& Projects();

    /// An operation of `manager` that has to succeed.
    template <class Manager, class Operation, class... Arguments>
    void Do(Manager& manager, Operation operation, Arguments&&... arguments)
    {
        if (!std::invoke(operation, manager, std::forward<Arguments>(arguments)...))
            Fail(manager.GetLastFailure());
    }

    NameTable users, groups, roles, permissions, permissionSets, properties;

private:
    /// Waits as every command does; tells a lost connection alone, the command tells the rest.
    struct Wait final : TerminalWait {
        using TerminalWait::TerminalWait;
        short ShowAlert(ErrorType error, ObjectType object, const OV::UniString* name) override
        {
            return error == ErrorType::CannotConnect ? TerminalWait::ShowAlert(error, object, name)
                                                     : short(0);
        }
    };

    [[noreturn]] static void Fail(const ManagementCore::RequestFailure& failure);
    template <class Manager>
    Manager& Connected(Manager& manager);
    template <class Record>
    std::function<NameTable::Names()>
    Fetch(bool (ManagementCore::UserRepositoryManager::*list)(OV::Array<Record>&),
          OV::UniString Record::*name);

    Context& context_;
    const ServerArguments& server_;
    Wait wait_;
    OV::Secret password_;
    std::uint16_t managementPort_;
};

/// Makes a command an action on a server, which the options name beside what the action itself is
/// told.
template <class Arguments>
void DefineAdminAction(CLI::App& command, Context& context,
                       void (*run)(AdminSession&, const Arguments&), Arguments initial = {})
{
    using OnServer = ArgumentsAt<ServerArguments, Arguments>;
    DefineCommand(
        command, context,
        [run](const OnServer& arguments, Context& shared) {
            AdminSession session(shared, arguments.place);
            run(session, arguments.own);
        },
        OnServer{{}, std::move(initial)});
}

/// Adds such a command.
template <class Arguments>
void AddAdminAction(CLI::App& parent, Context& context, const std::string& name,
                    const std::string& description, void (*run)(AdminSession&, const Arguments&),
                    Arguments initial = {})
{
    DefineAdminAction(AddSubcommand(parent, name, description), context, run, std::move(initial));
}
