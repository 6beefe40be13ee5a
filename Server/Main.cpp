#include "EventLogService.hpp"
#include "Fellows.hpp"
#include "HttpServer.hpp"
#include "LogWriter.hpp"
#include "MailService.hpp"
#include "Management/ManagementService.hpp"
#include "Management/Rules.hpp"
#include "MessagingService.hpp"
#include "ModelService.hpp"
#include "OperationService.hpp"
#include "Options.hpp"
#include "PasswordHash.hpp"
#include "Process.hpp"
#include "Sample.hpp"
#include "SignInService.hpp"
#include "Store/Copy.hpp"
#include "Store/OpenStore.hpp"
#include "Store/Sqlite/StoreTools.hpp"
#include "Tls.hpp"
#include "TokenStore.hpp"
#include "TokenTable.hpp"

#include "IO/File.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"
#include "SYCommunication/LocalServices.hpp"
#include "SyncraProtocol/Detail/JsonText.hpp"

#include <algorithm>
#include <iostream>
#include <limits>
#include <optional>

namespace {

using namespace Nexar;

struct LogLine {
    std::int32_t time = 0;
    OV::UniString level;
    OV::UniString text;
};

template <class Visitor>
void Describe(Visitor& v, LogLine& line)
{
    v("time", line.time);
    v("level", line.level);
    v("text", line.text);
}

/// One line a record, whatever a client put into it.
std::string LineOf(const OV::LogRecord& record, bool isJson)
{
    if (isJson)
        return Syncra::Protocol::WriteJson(LogLine{OV::Clock::Current().Now(),
                                                   record.level == OV::LogLevel::Info ? u"info"
                                                   : record.level == OV::LogLevel::Warning
                                                       ? u"warning"
                                                       : u"error",
                                                   record.text}) +
               '\n';
    std::string line = OV::ToUtf8(OV::EscapeForCarrier(record.text));
    std::replace(line.begin(), line.end(), '\n', ' ');
    return "nexar-server: " + line + '\n';
}

void SendLogTo(LogWriter& writer, bool isJson)
{
    OV::Logger::SetSink([&writer, isJson](const OV::LogRecord& record) {
        if (record.level != OV::LogLevel::Debug)
            writer.Write(LineOf(record, isJson));
    });
}

struct ResetLog {
    ~ResetLog() { OV::Logger::SetSink({}); }
};

/// A path, or a URL.
std::string StoreName(const Options& options)
{
    if (!options.store.empty())
        return options.store;
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

void AddUser(Database& database, PasswordHash& hash, const Options& options)
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
    const std::string made = hash.Make(password);
    const std::string& login = *options.newUser;
    Transaction transaction(database);
    database.HoldAll();
    Rules::CheckPassword(database, OV::FromUtf8(password));
    Rules::CheckLoginName(OV::FromUtf8(login));
    UserStore users(database);
    if (users.LoginExists(login))
        throw std::runtime_error("There is a user \"" + login + "\" already.");
    const StoredUser user{OV::ToUtf8(OV::Guid::Generate().ToText()), login, login, made};
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
        : audit_(options.auditFile, options.auditBytes), watch_{options.userLimits, audit_,
                                                                metrics_},
          tokens_(MakeTokens(database, options.userLimits)), server_(options.limits),
          workers_(server_, database, options.readers, options.userLimits.waitingWork),
          users_(database), projects_(database), members_(database), sessions_(database),
          mailStore_(database, options.userLimits), groups_(database), photos_(database),
          presence_(server_, std::chrono::milliseconds(options.presenceGrace)),
          fellows_(server_, workers_, database, presence_, *tokens_,
                   std::chrono::seconds(options.lease),
                   std::chrono::milliseconds(options.presenceGrace)),
          signals_(server_, workers_, database), passwords_(server_, options.userLimits, hash),
          signIn_(workers_, users_, passwords_, *tokens_, database),
          model_(options.userLimits, projects_, members_, sessions_, signals_, presence_),
          mails_(options.userLimits, users_, projects_, mailStore_, signals_),
          management_(database, users_, groups_, photos_, projects_, members_, sessions_, signals_,
                      passwords_, *tokens_),
          messaging_(server_, options.userLimits, projects_, presence_), eventLog_(database),
          events_(server_, workers_, options.userLimits, projects_, sessions_, groups_, eventLog_),
          operation_(server_, database, workers_, passwords_, metrics_, StoreName(options))
    {
        for (Router* router : {&modelRouter_, &managementRouter_})
            signIn_.AddRoutes(*router);
        signIn_.AddRoutesWithBuiltIn(messagingRouter_);
        model_.AddRoutes(modelRouter_);
        mails_.AddRoutes(modelRouter_);
        events_.AddRoutes(modelRouter_);
        management_.AddRoutes(managementRouter_);
        messaging_.AddRoutes(messagingRouter_);
        workers_.ReadOnThisThread();
        server_.SetBeforeStop([this] {
            TellServiceManager("STOPPING=1");
            passwords_.RefuseWaiting();
            signals_.ReleaseAll();
            presence_.Stop();
            fellows_.Stop();
            messaging_.ReleaseAll();
            events_.Stop();
        });
    }

    /// The port of the model service.
    std::uint16_t Listen(const Options& options)
    {
        if (!options.certificate.empty())
            server_.UseCertificate(options.certificate, options.key);
        const auto listen = [&](Router& router, std::uint16_t port) {
            return server_.Listen(
                options.address, port, HttpServer::Audience::Clients,
                [&router](HttpRequest&& request, const Reply& reply) {
                    router(std::move(request), reply);
                },
                [&router](const HttpRequest& head) { return router.CheckHead(head); });
        };
        const auto follow = [&](std::uint16_t asked, int distance) {
            if (asked != 0 || options.port == 0)
                return asked;
            const int port = options.port + distance;
            if (port > std::numeric_limits<std::uint16_t>::max())
                throw std::runtime_error(
                    "The ports that follow --port " + std::to_string(options.port) +
                    " are too high: name them with --management-port and --messaging-port.");
            return static_cast<std::uint16_t>(port);
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
        const auto operation = ListenForOperation(options);
        std::cout << "nexar-server ready: model " << options.address << ':' << model
                  << " management " << options.address << ':' << management << " messaging "
                  << options.address << ':' << messaging << operation << std::endl;
        return model;
    }

    void Run() { server_.Run(); }

private:
    /// It only notes where the members are that it uses.
    std::unique_ptr<Tokens> MakeTokens(Database& database, const Limits& limits)
    {
        if (database.IsShared())
            return std::make_unique<TokenStore>(database, workers_, limits);
        return std::make_unique<TokenTable>(limits, users_);
    }
    /// What the line about the ports says of it.
    std::string ListenForOperation(const Options& options)
    {
        if (!options.operationPort)
            return {};
        const auto port = server_.Listen(
            options.operationAddress, *options.operationPort, HttpServer::Audience::Operators,
            [this](const HttpRequest& request, const Reply& reply) {
                operation_.Answer(request, reply);
            },
            [](const HttpRequest&) { return HeadVerdict{}; });
        return " operation " + options.operationAddress + ':' + std::to_string(port);
    }

    // What every answer is noted in outlives the server, whose connections may be left unanswered.
    Metrics metrics_;
    AuditLog audit_;
    Router::Watch watch_;
    std::unique_ptr<Tokens> tokens_;
    Router modelRouter_{*tokens_, workers_, watch_};
    Router managementRouter_{*tokens_, workers_, watch_, StoreWorkers::Order::OneByOne};
    Router messagingRouter_{*tokens_, workers_, watch_};
    HttpServer server_;
    StoreWorkers workers_;
    UserStore users_;
    ProjectStore projects_;
    MemberStore members_;
    SessionStore sessions_;
    MailStore mailStore_;
    GroupStore groups_;
    PhotoStore photos_;
    PresenceBoard presence_;
    Fellows fellows_;
    SignalHub signals_;
    PasswordWorker passwords_;
    SignInService signIn_;
    ModelService model_;
    MailService mails_;
    ManagementService management_;
    MessagingService messaging_;
    EventLog eventLog_;
    EventLogService events_;
    OperationService operation_;
};

void Serve(const Options& options)
{
    RequireProtection(options);
    LogWriter writer([](const std::string& line) { std::cerr << line << std::flush; });
    SendLogTo(writer, options.logsJson);
    const ResetLog reset;
    PasswordHash hash(options.cost);
    const std::string name = StoreName(options);
    if (!IsPostgresStore(name))
        StoreTools::KeepPrivate(name);
    const auto store = OpenStore(name, options.writers);
    Database& database = *store;
    if (options.newUser) {
        AddUser(database, hash, options);
        return;
    }
    if (options.sample && FillWithSample(database, hash, options.sampleLines))
        std::cerr << "nexar-server: sample team ready; every password is \"" << SamplePassword
                  << "\"\n";
    else if (options.sample)
        std::cerr << "nexar-server: the store is not empty; no sample team was added\n";

    Services services(database, hash, options);
    const std::uint16_t port = services.Listen(options);
    std::optional<Communication::LocalServerAnnouncement> announcement;
    if (options.isAnnounced)
        announcement.emplace(u"Nexar Server on " + OV::System::ComputerName(), port,
                             !options.certificate.empty() || options.limits.isBehindProxy);
    OV::Logger::Info("nexar-server", u"Started.");
    TellServiceManager("READY=1");
    services.Run();
    OV::Logger::Info("nexar-server", u"Stopped.");
}

void Copy(const Options& options)
{
    const auto from = OpenStore(options.from, options.writers);
    const auto to = OpenStore(options.to, options.writers);
    std::uint64_t rows = 0;
    for (const auto& table : CopyStore(*from, *to)) {
        std::cout << table.name << ' ' << table.rows << ' ' << table.digest << '\n';
        rows += table.rows;
    }
    std::cout << rows << " rows were copied, and read back the same.\n";
}

void RunCommand(const Options& options)
{
    if (options.command == Options::Command::Copy)
        return Copy(options);
    const std::string store = StoreName(options);
    if (options.command != Options::Command::Serve && IsPostgresStore(store))
        throw std::runtime_error("This is for a store in a file. PostgreSQL has tools of its own: "
                                 "pg_dump, pg_restore, pg_amcheck, VACUUM.");
    switch (options.command) {
    case Options::Command::Backup:
        return StoreTools::Backup(store, options.file);
    case Options::Command::Restore:
        if (const auto former = StoreTools::Restore(store, options.file); !former.empty())
            std::cout << "The former store is \"" << former << "\".\n";
        return;
    case Options::Command::Check:
        if (const auto problems = StoreTools::Check(store); !problems.empty()) {
            for (const auto& problem : problems)
                std::cout << problem << '\n';
            throw std::runtime_error("The store is damaged. Restore a backup.");
        }
        std::cout << "The store is sound.\n";
        return;
    case Options::Command::Compact:
        return StoreTools::Compact(store);
    case Options::Command::Serve:
    case Options::Command::Copy:
        break;
    }
    if (options.certificateHost)
        WriteCertificate(options);
    else
        Serve(options);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && argv[1] == std::string_view(PasswordHash::ProcessArgument)) {
        OV::System::ForbidCoreDumps();
        PasswordHash::ComputeForOthers();
        return 0;
    }
    const auto options = ReadOptions(argc, argv);
    if (!options.exitCode) {
        try {
            OV::System::IgnoreBrokenPipes();
            FailTooLargeFiles();
            KeepFreedMemory();
            OV::System::ForbidCoreDumps();
            RunCommand(options);
            return 0;
        } catch (const std::exception& error) {
            std::cerr << "nexar-server: " << error.what() << '\n';
            return 1;
        }
    }
    return *options.exitCode;
}
