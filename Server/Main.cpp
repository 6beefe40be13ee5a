#include "Database.hpp"
#include "EventLogService.hpp"
#include "HttpServer.hpp"
#include "LogWriter.hpp"
#include "MailService.hpp"
#include "Management/ManagementService.hpp"
#include "Management/Rules.hpp"
#include "ModelService.hpp"
#include "PasswordHash.hpp"
#include "PresenceService.hpp"
#include "Sample.hpp"
#include "SignInService.hpp"

#include "IO/File.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <optional>

namespace {

using namespace Nexar;

struct Options {
    std::string data;
    std::string address = "127.0.0.1";
    std::uint16_t port = 19001;
    std::uint16_t managementPort = 0;
    std::uint16_t messagingPort = 0;
    bool sample = false;
    std::uint32_t sampleLines = 200'000;
    std::optional<std::string> newUser;
    std::string passwordFile;
    std::uint32_t presenceGrace = 10'000;
    PasswordHash::Cost cost = PasswordHash::Cost::Interactive;
};

void AddOptions(CLI::App& app, Options& options)
{
    app.set_version_flag("--version", "nexar-server " SYCLIENT_VERSION);
    app.add_option("--data", options.data,
                   "The store, an SQLite file (default: Orvant/nexar.db in your application data)")
        ->option_text("FILE");
    app.add_option("--listen", options.address, "Address to listen on")
        ->option_text("ADDRESS")
        ->capture_default_str();
    app.add_option("--port", options.port,
                   "Port of the model service; the other two follow it. 0 picks free ones")
        ->option_text("N")
        ->capture_default_str();
    app.add_option("--management-port", options.managementPort, "Port of the management service")
        ->option_text("N");
    app.add_option("--messaging-port", options.messagingPort, "Port of the messaging service")
        ->option_text("N");
    app.add_flag("--sample", options.sample, "Fill an empty store with a sample team");
    app.add_option("--sample-lines", options.sampleLines,
                   "How many lines the logs of the sample's projects have, over two years")
        ->option_text("N")
        ->capture_default_str();
    auto* user =
        app.add_option("--add-user", options.newUser,
                       "Add a user to the store and end; the password is the first line of "
                       "--password-file or of standard input")
            ->option_text("LOGIN");
    app.add_option("--password-file", options.passwordFile, "File with the password of --add-user")
        ->needs(user)
        ->option_text("FILE");
    app.add_option("--presence-grace", options.presenceGrace,
                   "How long a user counts as present after his client's last request, in "
                   "milliseconds")
        ->option_text("MS")
        ->capture_default_str();
    app.add_option("--hash", options.cost,
                   "Cost of new password hashes: interactive, or minimum for tests")
        ->option_text("COST")
        ->transform(CLI::CheckedTransformer(std::map<std::string, PasswordHash::Cost>{
            {"minimum", PasswordHash::Cost::Minimum},
            {"interactive", PasswordHash::Cost::Interactive}}));
    app.footer(
        "Once it listens, one line on standard output names the ports. SIGTERM and Ctrl-C answer "
        "what is under\nway and end it. Plain HTTP: beyond this machine it belongs behind TLS.");
}

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
    Services(Database& database, PasswordHash& hash, std::chrono::milliseconds presenceGrace)
        : users_(database), projects_(database), members_(database), sessions_(database),
          mailStore_(database), groups_(database), photos_(database),
          presence_(server_, presenceGrace), signals_(server_), passwords_(server_, hash),
          signIn_(users_, passwords_, tokens_),
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

    Services services(database, hash, std::chrono::milliseconds(options.presenceGrace));
    services.Listen(options);
    OV::Logger::Info("nexar-server", u"Started.");
    services.Run();
    OV::Logger::Info("nexar-server", u"Stopped.");
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app("A small project server for teams that use SYClient.", "nexar-server");
    Options options;
    AddOptions(app, options);
    CLI11_PARSE(app, argc, argv);
    try {
        OV::System::IgnoreBrokenPipes();
        OV::System::ForbidCoreDumps();
        Serve(options);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "nexar-server: " << error.what() << '\n';
        return 1;
    }
}
