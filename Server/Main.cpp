#include "Database.hpp"
#include "EventLogService.hpp"
#include "HttpServer.hpp"
#include "LogWriter.hpp"
#include "MailService.hpp"
#include "Management/ManagementService.hpp"
#include "Management/Rules.hpp"
#include "ModelService.hpp"
#include "Options.hpp"
#include "PasswordHash.hpp"
#include "PresenceService.hpp"
#include "Sample.hpp"
#include "SignInService.hpp"
#include "Tls.hpp"

#include "IO/File.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"

#include <algorithm>
#include <iostream>

namespace {

using namespace Nexar;

void SendLogToStandardError(LogWriter& writer)
{
    OV::Logger::SetSink([&writer](const OV::LogRecord& record) {
        if (record.level == OV::LogLevel::Debug)
            return;
        // One line a record, whatever a client put into it.
        std::string line = OV::ToUtf8(OV::EscapeForCarrier(record.text));
        std::replace(line.begin(), line.end(), '\n', ' ');
        writer.Write("nexar-server: " + line + '\n');
    });
}

struct ResetLog {
    ~ResetLog() { OV::Logger::SetSink({}); }
};

std::string StorePath(const Options& options)
{
    if (!options.data.empty())
        return options.data;
    return IO::GetCompanyFolder(IO::SpecialFolder::ApplicationData)
        .Appended(u"nexar.db")
        .ToNativePath();
}

/// Passwords would go over the network for everybody to read.
void RequireProtection(const Options& options)
{
    if (HttpServer::IsLoopback(options.address))
        return;
    if (options.sample)
        throw std::runtime_error("The passwords of the sample team are known to everybody: it is "
                                 "served on this machine alone, with --listen 127.0.0.1.");
    if (options.certificate.empty() && !options.limits.isBehindProxy)
        throw std::runtime_error(
            "On " + options.address +
            " passwords would go over the network in clear text. Give "
            "--certificate and --key, or say --behind-tls when a proxy in front does TLS.");
}

void WriteCertificate(const Options& options)
{
    const auto made = MakeCertificate(*options.certificateHost);
    const auto write = [](const std::string& path, const std::string& text, bool isPrivate) {
        const auto place = IO::Location::FromPath(OV::FromUtf8(path));
        if (IO::File::Exists(place))
            throw std::runtime_error("\"" + path + "\" is there already; it stays as it is.");
        IO::File::Replace(place, text, isPrivate);
    };
    const std::string certificate =
        options.certificate.empty() ? "certificate.pem" : options.certificate;
    const std::string key = options.key.empty() ? "key.pem" : options.key;
    write(key, made.key, true);
    write(certificate, made.certificate, false);
    std::cout << "Certificate for " << *options.certificateHost << " in " << certificate
              << ", its key in " << key << ".\nSHA-256 fingerprint: " << made.fingerprint << '\n';
}

void AddUser(Database& database, const PasswordHash& hash, const Options& options)
{
    std::string password;
    if (options.passwordFile.empty())
        std::getline(std::cin, password);
    else
        password = IO::File::ReadInput(IO::Location::FromPath(OV::FromUtf8(options.passwordFile)),
                                       IO::File::MostOfValueFile);
    password.resize(std::min(password.size(), password.find_first_of("\r\n")));
    if (password.empty())
        throw std::runtime_error(
            "The password is empty. Give it in --password-file or on standard input.");
    Rules::CheckPassword(database, OV::FromUtf8(password));
    const std::string& login = *options.newUser;
    Rules::CheckLoginName(OV::FromUtf8(login));
    UserStore users(database);
    if (users.LoginExists(login))
        throw std::runtime_error("There is a user \"" + login + "\" already.");
    const StoredUser user{OV::ToUtf8(OV::Guid::Generate().ToText()), login, login,
                          hash.Make(password)};
    Transaction transaction(database);
    // Somebody must be able to manage the server.
    const bool isFirst = users.IsEmpty();
    users.Add(user);
    if (isFirst)
        GroupStore(database).Add(user.id, UserGroups::Administrators);
    transaction.Commit();
}

/// The three services on their ports; lives as long as the process.
class Services {
public:
    Services(Database& database, PasswordHash& hash, const Options& options)
        : server_(options.limits), users_(database), projects_(database), members_(database),
          sessions_(database), mailStore_(database), groups_(database), photos_(database),
          presence_(server_, std::chrono::milliseconds(options.presenceGrace)), signals_(server_),
          passwords_(server_, hash), signIn_(users_, passwords_, tokens_),
          model_(projects_, members_, sessions_, signals_, presence_),
          mails_(users_, projects_, mailStore_, signals_),
          management_(database, users_, groups_, photos_, projects_, members_, sessions_, signals_,
                      passwords_, tokens_),
          messaging_(server_, projects_, presence_), eventLog_(database),
          events_(server_, projects_, sessions_, groups_, eventLog_)
    {
        for (Router* router : {&modelRouter_, &managementRouter_})
            signIn_.AddRoutes(*router);
        signIn_.AddRoutesWithBuiltIn(messagingRouter_);
        model_.AddRoutes(modelRouter_);
        mails_.AddRoutes(modelRouter_);
        events_.AddRoutes(modelRouter_);
        management_.AddRoutes(managementRouter_);
        messaging_.AddRoutes(messagingRouter_);
        server_.SetBeforeStop([this] {
            passwords_.RefuseWaiting();
            signals_.ReleaseAll();
            presence_.Stop();
            messaging_.ReleaseAll();
            events_.Stop();
        });
    }

    void Listen(const Options& options)
    {
        if (!options.certificate.empty())
            server_.UseCertificate(options.certificate, options.key);
        const auto listen = [&](Router& router, std::uint16_t port) {
            return server_.Listen(
                options.address, port,
                [&router](HttpRequest request, const Reply& reply) {
                    router(std::move(request), reply);
                },
                [&router](const HttpRequest& head) { return router.CheckHead(head); });
        };
        const auto follow = [&](std::uint16_t asked, int distance) {
            return asked != 0 || options.port == 0
                       ? asked
                       : static_cast<std::uint16_t>(options.port + distance);
        };
        const auto model = listen(modelRouter_, options.port);
        const auto management = listen(managementRouter_, follow(options.managementPort, 1));
        const auto messaging = listen(messagingRouter_, follow(options.messagingPort, 2));
        namespace Names = Syncra::Protocol::ServiceNames;
        const std::vector<Syncra::Protocol::ServicePort> ports = {
            {OV::UniString(Names::Model), model},
            {OV::UniString(Names::Management), management},
            {OV::UniString(Names::Messaging), messaging}};
        model_.SetPorts(ports);
        management_.SetPorts(ports);
        std::cout << "nexar-server ready: model " << options.address << ':' << model
                  << " management " << options.address << ':' << management << " messaging "
                  << options.address << ':' << messaging << std::endl;
    }

    void Run() { server_.Run(); }

private:
    HttpServer server_;
    TokenTable tokens_;
    UserStore users_;
    ProjectStore projects_;
    MemberStore members_;
    SessionStore sessions_;
    MailStore mailStore_;
    GroupStore groups_;
    PhotoStore photos_;
    PresenceBoard presence_;
    SignalHub signals_;
    PasswordWorker passwords_;
    SignInService signIn_;
    ModelService model_;
    MailService mails_;
    ManagementService management_;
    PresenceService messaging_;
    EventLog eventLog_;
    EventLogService events_;
    Router modelRouter_{tokens_, users_};
    Router managementRouter_{tokens_, users_};
    Router messagingRouter_{tokens_, users_};
};

void Serve(const Options& options)
{
    RequireProtection(options);
    LogWriter writer;
    SendLogToStandardError(writer);
    const ResetLog reset;
    PasswordHash hash(options.cost);
    Database database(StorePath(options));
    if (options.newUser) {
        AddUser(database, hash, options);
        return;
    }
    if (options.sample && FillWithSample(database, hash, options.sampleLines))
        std::cerr << "nexar-server: sample team ready; every password is \"" << SamplePassword
                  << "\"\n";
    else if (options.sample)
        std::cerr << "nexar-server: the store is in use already; no sample team was added\n";

    Services services(database, hash, options);
    services.Listen(options);
    OV::Logger::Info("nexar-server", u"Started.");
    services.Run();
    OV::Logger::Info("nexar-server", u"Stopped.");
}

}  // namespace

int main(int argc, char** argv)
{
    const auto options = ReadOptions(argc, argv);
    if (!options.exitCode) {
        try {
            OV::System::IgnoreBrokenPipes();
            OV::System::ForbidCoreDumps();
            if (options.certificateHost)
                WriteCertificate(options);
            else
                Serve(options);
            return 0;
        } catch (const std::exception& error) {
            std::cerr << "nexar-server: " << error.what() << '\n';
            return 1;
        }
    }
    return *options.exitCode;
}
