#include "ConnectToServer.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

namespace SYC {

namespace {

using Syncra::Client::SignInData;
using Syncra::Server::ManagementTool::GUI::SyncraInfo;

void TakeStoredPassword(SignInData& login)
{
    if (login.password.empty())
        if (const SyncraInfo info; info.IsUserInServerList(login.userName, login.serverName))
            login.password = info.GetUserPassword(login.userName, login.serverName);
}

/// A server that cannot be remembered can be worked with all the same; a password that was to be
/// kept is told of.
void Remember(const SignInData& login, bool storePassword)
try {
    SyncraInfo().Update([&](SyncraInfo& info) {
        info.SetLastServerName(login.serverName);
        if (storePassword)
            info.AddUser(login.userName, login.serverName, login.password);
    });
} catch (const OV::InterruptedException&) {
    throw;
} catch (...) {
    if (storePassword)
        throw;
    OV::LogCurrentException(OV::Logger::Library,
                            u"The server that % used last is not remembered: %", login.userName);
}

}  // namespace

void ConnectToServer::Connect(SignInData login, bool storePassword)
{
    Start([this, login = std::move(login), storePassword](const Report& report) mutable -> Result {
        report(GetText(FlowText::SignIn));
        TakeStoredPassword(login);
        (void)SYCB::CreateSyncraClient(login);
        Remember(login, storePassword);
        return {[this, login] { login_ = login; }, {}};
    });
}

void ConnectToServer::Diagnose(SignInData login)
{
    steps_.clear();
    Start([this, login = std::move(login)](const Report& report) mutable -> Result {
        report(GetText(FlowText::Diagnose));
        TakeStoredPassword(login);
        auto steps = WalkToServer({login.serverName, login.port, login.userName, login.password});
        return {[this, steps = std::move(steps)] { steps_ = steps; }, {}};
    });
}

}  // namespace SYC
