#include "Options.hpp"

#include "OVRoot/System.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <vector>

namespace Nexar {

namespace {

/// What AddOptions cannot put into the options right away.
struct Rest {
    bool printsConfiguration = false;
};

void AddPlaces(CLI::App& app, Options& options)
{
    app.add_option("--store", options.store,
                   "The store: an SQLite file (default: Orvant/nexar.db in your application data), "
                   "or a PostgreSQL database, postgresql://USER@HOST/NAME, as libpq takes it")
        ->option_text("STORE");
    app.add_option("--data", options.data, "The same, where --store is not given")
        ->option_text("STORE");
    app.add_option("--listen", options.address,
                   "Address to listen on; another one than of this machine alone takes TLS")
        ->option_text("ADDRESS");
    app.add_option("--port", options.port,
                   "Port of the model service; the other two follow it. 0 picks free ones")
        ->option_text("N");
    app.add_option("--management-port", options.managementPort, "Port of the management service")
        ->option_text("N");
    app.add_option("--messaging-port", options.messagingPort, "Port of the messaging service")
        ->option_text("N");
}

void AddAnnouncement(CLI::App& app, Options& options)
{
    app.add_flag("--announce", options.isAnnounced,
                 "Tell the local network of the server (DNS-SD), so that clients there find it; "
                 "takes a daemon for that on this computer, such as Avahi");
}

void AddProtection(CLI::App& app, Options& options)
{
    auto* certificate =
        app.add_option("--certificate", options.certificate,
                       "Protect all ports with TLS: the certificate with its chain, a PEM file; "
                       "SIGHUP reads it again")
            ->option_text("FILE");
    auto* key = app.add_option("--key", options.key, "Key of the certificate, a PEM file")
                    ->option_text("FILE");
    certificate->needs(key);
    key->needs(certificate);
    app.add_flag("--behind-tls", options.limits.isBehindProxy,
                 "A proxy in front does TLS, and names each client in X-Forwarded-For");
    app.add_flag("--proxy-protocol", options.limits.readsProxyHeader,
                 "A proxy in front passes connections on unread, and names each client in a header "
                 "of the PROXY protocol (version 1 or 2)");
    app.add_option("--proxy", options.limits.proxies,
                   "The addresses of such proxies, with commas between them; nobody else may name "
                   "a client")
        ->delimiter(',')
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->option_text("ADDRESS");
    app.add_option("--make-certificate", options.certificateHost,
                   "Make a certificate for a host that no authority vouches for, and end; into the "
                   "files of --certificate and --key (default: certificate.pem and key.pem)")
        ->option_text("HOST");
}

void AddContents(CLI::App& app, Options& options)
{
    app.add_flag("--sample", options.sample, "Fill an empty store with a sample team");
    app.add_option("--sample-lines", options.sampleLines,
                   "How many lines the logs of the sample's projects have, over two years")
        ->option_text("N");
    auto* user =
        app.add_option("--add-user", options.newUser,
                       "Add a user to the store and end; the password is the first line of "
                       "--password-file or of standard input")
            ->option_text("LOGIN");
    app.add_option("--password-file", options.passwordFile, "File with the password of --add-user")
        ->needs(user)
        ->option_text("FILE");
    app.add_option("--hash", options.cost,
                   "Cost of new password hashes: interactive, or minimum for tests")
        ->option_text("COST")
        ->transform(CLI::CheckedTransformer(std::map<std::string, PasswordHash::Cost>{
            {"minimum", PasswordHash::Cost::Minimum},
            {"interactive", PasswordHash::Cost::Interactive}}));
}

void AddLimits(CLI::App& app, Options& options)
{
    app.add_option("--presence-grace", options.presenceGrace,
                   "How long a user counts as present after his client's last request, in "
                   "milliseconds")
        ->option_text("MS");
    app.add_option("--lease", options.lease,
                   "Of several servers on one store: after how long without a sign of life the "
                   "others give up what one held, in seconds")
        ->check(CLI::Range(1, 3600))
        ->option_text("S");
    app.add_option("--readers", options.readers, "How many threads read the store")
        ->option_text("N");
    app.add_option("--writers", options.writers,
                   "How many threads write to a store in PostgreSQL; each of them and of the "
                   "readers has a connection of its own")
        ->option_text("N");
    app.add_option("--connections", options.limits.connections,
                   "The most connections of all ports together")
        ->option_text("N");
    app.add_option("--connections-per-address", options.limits.connectionsOfAddress,
                   "The most connections of one address")
        ->option_text("N");
    app.add_option("--bytes-in-flight", options.limits.bytesInFlight,
                   "The most bytes of bodies that are on their way")
        ->option_text("N");
    app.add_option("--idle-time", options.limits.idleSeconds,
                   "How long a connection may be without a request, in seconds")
        ->option_text("S");
    app.add_option(
           "--drain", options.limits.drainSeconds,
           "How long it goes on after SIGTERM, in seconds, with /health saying that it ends: a "
           "balancer notices and sends requests to others")
        ->option_text("S");
    app.add_option("--delivery-time", options.limits.deliverySeconds,
                   "How long a request may take to arrive, and an answer to be taken, in seconds")
        ->option_text("S");
}

void AddUserLimits(CLI::App& app, Limits& limits)
{
    const auto add = [&app](const char* name, auto& value, const char* what) {
        app.add_option(name, value, what)->option_text("N");
    };
    add("--requests-per-user", limits.requestsOfUser, "The most requests of a user under way");
    add("--requests-per-address", limits.requestsOfAddress,
        "The same for an address from which nobody, or the built-in account, asks");
    add("--waiting-passwords", limits.waitingPasswords,
        "The most passwords that wait to be checked");
    add("--tokens-per-user", limits.tokensOfUser,
        "How often a user is signed in at once; more sign-ins end his oldest");
    add("--tokens-per-address", limits.tokensOfAddress,
        "The same for the built-in account, from one address");
    add("--subscriptions-per-user", limits.subscriptionsOfUser,
        "The most presence subscriptions of a user, or of an address for the built-in account");
    add("--ids-per-request", limits.idsOfRequest, "The most mails that a request names");
    add("--attributes-per-session", limits.attributesOfSession, "The most attributes of a session");
    add("--sign-in-bytes", limits.openBodyBytes, "The most bytes of a sign-in");
    add("--large-body-bytes", limits.largeBodyBytes, "The most bytes of a mail or a photo");
    add("--body-bytes", limits.bodyBytes, "The most bytes of any other request");
    add("--json-values", limits.jsonValues, "The most values in a body");
    add("--waiting-work", limits.waitingWork,
        "The most requests that wait for the store, reading or writing; a quarter for each user");
    add("--mails-per-box", limits.mailsOfBox, "The most mails that a member has in a project");
    add("--mail-bytes-per-project", limits.mailBytesOfProject,
        "The most bytes of a project's mails");
    add("--keep-log-days", limits.keptLogDays,
        "Drop older lines of the projects' logs; 0 keeps all");
    add("--keep-mail-keys-days", limits.keptKeyDays,
        "Forget older deliveries: a mail that is sent again after that comes twice; 0 keeps all");
}

void AddOperation(CLI::App& app, Options& options)
{
    app.add_option("--audit-log", options.auditFile, "Write who did what from where into a file")
        ->option_text("FILE");
    app.add_option("--audit-bytes", options.auditBytes,
                   "How large it grows before it is put aside; five are kept")
        ->option_text("N");
    app.add_option("--log-format", options.logsJson, "Of standard error: text or json")
        ->option_text("FORMAT")
        ->transform(
            CLI::CheckedTransformer(std::map<std::string, bool>{{"text", false}, {"json", true}}));
    app.add_option("--operation-listen", options.operationAddress,
                   "Address of GET /health and GET /metrics, which nobody signs in to")
        ->option_text("ADDRESS");
    app.add_option("--operation-port", options.operationPort,
                   "Their port; without it there is none")
        ->option_text("N");
}

void AddCommands(CLI::App& app, Options& options)
{
    const auto add = [&](const char* name, const char* what, Options::Command command) {
        auto* added = app.add_subcommand(name, what)->fallthrough();
        added->callback([&options, command] { options.command = command; });
        return added;
    };
    add("backup", "Copy the store into a new file, while a server serves it or not",
        Options::Command::Backup)
        ->add_option("FILE", options.file, "The copy")
        ->required();
    add("restore", "Put a backup in the place of the store; the server must have ended",
        Options::Command::Restore)
        ->add_option("FILE", options.file, "The backup")
        ->required();
    add("check", "Tell what is wrong with the store", Options::Command::Check);
    add("compact", "Give back the room of what was deleted", Options::Command::Compact);
    auto* copy =
        add("copy",
            "Copy all of a store into an empty one of either kind, and compare; the one it "
            "is copied from is brought up to date first",
            Options::Command::Copy);
    copy->add_option("--from", options.from, "The store to read")->required()->option_text("STORE");
    copy->add_option("--to", options.to, "The store to fill")->required()->option_text("STORE");
}

/// The options that the environment names, NEXAR_PORT for --port, before those of the command line:
/// the later one counts.
std::vector<std::string> WithEnvironment(const CLI::App& app, int argc, char** argv)
{
    std::vector<std::string> arguments;
    for (const CLI::Option* option : app.get_options()) {
        std::string name = option->get_single_name();
        std::transform(name.begin(), name.end(), name.begin(), [](char c) {
            return c == '-' ? '_' : c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        });
        const auto value = OV::System::EnvironmentVariable("NEXAR_" + name);
        if (!value.empty() && option->get_configurable())
            arguments.push_back("--" + option->get_single_name() + "=" + value);
    }
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
    return arguments;
}

}  // namespace

Options ReadOptions(int argc, char** argv)
{
    Options options;
    Rest rest;
    CLI::App app("A small project server for teams that use SYClient.", "nexar-server");
    app.option_defaults()->always_capture_default()->multi_option_policy(
        CLI::MultiOptionPolicy::TakeLast);
    app.set_version_flag("--version", "nexar-server " SYCLIENT_VERSION);
    app.set_config("--config", "", "Options from a file, a line each: port = 19001")
        ->option_text("FILE")
        ->configurable(false);
    app.add_flag("--print-config", rest.printsConfiguration,
                 "Print every option as --config takes it, and end")
        ->configurable(false);
    AddPlaces(app, options);
    AddAnnouncement(app, options);
    AddProtection(app, options);
    AddContents(app, options);
    AddLimits(app, options);
    AddUserLimits(app, options.userLimits);
    AddOperation(app, options);
    AddCommands(app, options);
    app.footer(
        "The environment gives options too, NEXAR_PORT for --port. The command line counts before "
        "the environment,\nand that before the file. Once it listens, one line on standard output "
        "names the ports. SIGTERM and Ctrl-C\nanswer what is under way and end it.");
    try {
        app.parse(WithEnvironment(app, argc, argv));
        if (rest.printsConfiguration) {
            std::cout << app.config_to_str(true, true);
            options.exitCode = 0;
        }
    } catch (const CLI::ParseError& error) {
        constexpr int wrongUsage = 2;
        options.exitCode = app.exit(error) == 0 ? 0 : wrongUsage;
    }
    return options;
}

}  // namespace Nexar
