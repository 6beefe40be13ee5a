#include "Command.hpp"
#include "Commands.hpp"
#include "Context.hpp"

#include "OVRoot/Ascii.hpp"
#include "OVRoot/LocalTime.hpp"
#include "OVRoot/Terminal.hpp"
#include "Question.hpp"
#include "SYCommunication/HttpClient.hpp"
#include "SYCommunication/ServerTrust.hpp"

#include <CLI/CLI.hpp>

#include <charconv>

namespace {

using Communication::ServerAddress;
using Communication::ServerTrust;
using Communication::TrustProblem;
using Communication::UntrustedServer;

void AddPlace(CLI::App& command, std::string& place)
{
    command.add_option("place", place, "The server and its model port")
        ->option_text("HOST:PORT")
        ->required();
}

struct TrustArguments {
    std::string place;
    std::string fingerprint;
    bool yes = false;

    void AddOptions(CLI::App& command)
    {
        AddPlace(command, place);
        command
            .add_option("--fingerprint", fingerprint,
                        "Trust it only with this fingerprint, without a question")
            ->option_text("SHA256");
        command.add_flag("--yes", yes, "Trust whatever it shows, without a question");
    }
};

struct DistrustArguments {
    std::string place;

    void AddOptions(CLI::App& command) { AddPlace(command, place); }
};

/// "HOST:PORT", with or without the scheme; an IPv6 host in brackets.
ServerAddress ReadPlace(const std::string& place)
{
    const auto colon = place.rfind(':');
    std::uint16_t port = 0;
    const char* const end = place.data() + place.size();
    const auto read = colon == std::string::npos
                          ? std::from_chars_result{}
                          : std::from_chars(place.data() + colon + 1, end, port);
    if (read.ptr != end || port == 0)
        throw OV::IllegalArgumentException(OV::FromUtf8(
            "\"" + place + "\" is no HOST:PORT. The port of the model service is mostly 19001."));
    auto address = ServerAddress::FromServerName(OV::FromUtf8(place.substr(0, colon)), port);
    address.secure = true;
    return address;
}

/// The digits alone, for each program writes a fingerprint in its own way.
std::string DigitsOf(OV::StringView fingerprint)
{
    std::string digits;
    for (const char c : fingerprint)
        if (OV::HexValue(c) >= 0)
            digits += OV::Fold(c);
    return digits;
}

Json NamesOf(const UntrustedServer& server)
{
    Json names = Json::array();
    for (const auto& name : server.certificate.names)
        names.push_back(ForJson(name));
    return names;
}

void Show(const UntrustedServer& server, const Output& output)
{
    std::string names;
    for (const auto& name : server.certificate.names)
        names += (names.empty() ? "" : ", ") + ForDisplay(name);
    const auto& certificate = server.certificate;
    output.PrintFields({{"server", ForDisplay(server.GetPlace())},
                        {"problem", ForDisplay(server.DescribeProblems())},
                        {"made out to", ForDisplay(certificate.subject)},
                        {"by", ForDisplay(certificate.issuer)},
                        {"names", names},
                        {"valid from", ForDisplay(OV::FormatLocalTime(certificate.validFrom))},
                        {"valid until", ForDisplay(OV::FormatLocalTime(certificate.validUntil))},
                        {"SHA-256 fingerprint", ForDisplay(certificate.fingerprint)},
                        {"trusted so far", ForDisplay(server.trustedFingerprint)}});
}

/// Whether the certificate is to be trusted; tells why when it is not.
bool MayTrust(const TrustArguments& arguments, const UntrustedServer& server, Context& context)
{
    const std::string shown = DigitsOf(OV::ToUtf8(server.certificate.fingerprint));
    if (!arguments.fingerprint.empty()) {
        if (DigitsOf(arguments.fingerprint) == shown)
            return true;
        context.output.Error("The server shows another certificate than the one that was named. "
                             "Somebody may stand between you and it; nothing is trusted.");
        context.exitCode = ExitCode::AccessDenied;
        return false;
    }
    if (server.Has(TrustProblem::Changed)) {
        context.output.Error(ForDisplay(server.GetAdvice()) + " \"syclient server distrust " +
                             ForDisplay(server.GetPlace()) + "\" forgets the former one.");
        context.exitCode = ExitCode::AccessDenied;
        return false;
    }
    if (arguments.yes)
        return true;
    if (context.output.json || !OV::Terminal::IsTerminal(OV::Terminal::Stream::Input))
        throw OV::IllegalArgumentException(OV::StringView(
            "There is nobody to ask whether to trust it. Use --fingerprint or --yes."));
    const bool isYes =
        Question::Agrees("Did the server's administrator tell you this fingerprint? Trust it?");
    context.exitCode = isYes ? ExitCode::Success : ExitCode::AccessDenied;
    return isYes;
}

void Trust(const TrustArguments& arguments, Context& context)
{
    Communication::HttpClient client(ReadPlace(arguments.place),
                                     Communication::DefaultHttpOptions());
    const UntrustedServer server = client.ReadCertificate();
    if (!context.output.json)
        Show(server, context.output);
    const bool isTrusted = ServerTrust::GetInstance().Find(server.host, server.port) ==
                           std::optional(server.certificate.fingerprint);
    const bool needsTrust =
        !isTrusted && (!server.problems.empty() || !arguments.fingerprint.empty());
    const bool trusts = needsTrust && MayTrust(arguments, server, context);
    if (trusts)
        ServerTrust::GetInstance().Trust({server.host, server.port, server.certificate.fingerprint},
                                         true);
    if (context.output.json)
        context.output.PrintJson({{"host", ForJson(server.host)},
                                  {"port", server.port},
                                  {"fingerprint", ForJson(server.certificate.fingerprint)},
                                  {"trustedBefore", ForJson(server.trustedFingerprint)},
                                  {"subject", ForJson(server.certificate.subject)},
                                  {"issuer", ForJson(server.certificate.issuer)},
                                  {"names", NamesOf(server)},
                                  {"validFrom", server.certificate.validFrom},
                                  {"validUntil", server.certificate.validUntil},
                                  {"problem", ForJson(server.DescribeProblems())},
                                  {"trusted", isTrusted || trusts}});
    else if (isTrusted)
        context.output.PrintLine("It is trusted already.");
    else if (trusts)
        context.output.PrintLine("Trusted from now on.");
    else
        context.output.PrintLine(
            needsTrust ? "Not trusted." : "An authority vouches for it: there is nothing to do.");
}

void List(const NoArguments&, Context& context)
{
    const auto servers = ServerTrust::GetInstance().List();
    if (context.output.json) {
        Json all = Json::array();
        for (const auto& server : servers)
            all.push_back({{"host", ForJson(server.host)},
                           {"port", server.port},
                           {"fingerprint", ForJson(server.fingerprint)}});
        context.output.PrintJson({{"servers", std::move(all)}});
        return;
    }
    std::vector<std::vector<std::string>> rows{{"HOST", "PORT", "SHA-256 FINGERPRINT"}};
    for (const auto& server : servers)
        rows.push_back(
            {ForDisplay(server.host), std::to_string(server.port), ForDisplay(server.fingerprint)});
    if (rows.size() == 1)
        context.output.PrintLine("No server is trusted by its certificate alone.");
    else
        context.output.PrintTable(rows);
}

void Distrust(const DistrustArguments& arguments, Context& context)
{
    const ServerAddress address = ReadPlace(arguments.place);
    const bool wasTrusted = ServerTrust::GetInstance().Distrust(address.host, address.port);
    if (!wasTrusted)
        context.exitCode = ExitCode::NotFound;
    if (context.output.json)
        context.output.PrintJson({{"forgotten", wasTrusted}});
    else if (wasTrusted)
        context.output.PrintLine("Its certificate is forgotten.");
    else
        context.output.Error("No certificate of \"" + ForDisplay(OV::FromUtf8(arguments.place)) +
                             "\" is trusted. \"syclient server trusted\" lists them.");
}

}  // namespace

void AddTrustCommands(CLI::App& server, Context& context)
{
    AddCommand(server, context, "trust",
               "Trust the certificate of a server for which no authority vouches", &Trust);
    AddCommand(server, context, "trusted",
               "The servers that are trusted by their certificates alone", &List);
    AddCommand(server, context, "distrust", "Forget the certificate of a server", &Distrust);
}
