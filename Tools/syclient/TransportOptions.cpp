#include "TransportOptions.hpp"

#include <CLI/CLI.hpp>

void TransportOptions::AddOptions(CLI::App& app)
{
    auto& group = *app.add_option_group("Connections");
    // Or the two hand an unknown option to each other for ever.
    group.fallthrough(false);
    const struct {
        const char* name;
        OV::String& value;
        const char* what;
        const char* kind;
    } texts[] = {
        {"--ca-file", options_.authoritiesFile,
         "Authorities to trust for TLS instead of the system's (or SYCLIENT_CA_FILE)", "FILE"},
        {"--client-certificate", options_.certificateFile,
         "Certificate by which a server knows this computer", "FILE"},
        {"--client-key", options_.keyFile, "Its key", "FILE"},
        {"--proxy", options_.proxy, "Proxy, as http://HOST:PORT (default: the environment's)",
         "URL"},
        {"--no-proxy", options_.noProxy, "Hosts and domains to reach without it", "LIST"},
    };
    for (const auto& text : texts) {
        auto* option = group.add_option(text.name, text.value, text.what)->option_text(text.kind);
        if (OV::StringView(text.kind) == "FILE")
            option->check(CLI::ExistingFile);
    }
    group
        .add_option(
            "--timeout", seconds_,
            "How long a server may be silent, and a connection take to come about, in seconds "
            "(default: 30, and 10 for the connection)")
        ->option_text("N")
        ->check(CLI::Range(1, 3600));
    group.add_flag("--allow-plain-http", options_.allowPlainHttp,
                   "Plain HTTP to other computers, which shows passwords on the way");
}

void TransportOptions::Apply() const
{
    auto options = options_;
    if (seconds_ != 0) {
        constexpr std::uint32_t milliseconds = 1000;
        options.requestTimeoutMilliseconds = seconds_ * milliseconds;
        options.connectTimeoutMilliseconds = seconds_ * milliseconds;
    }
    Communication::SetDefaultHttpOptions(std::move(options));
}

TrustNotice::TrustNotice(const Output& output) : output_(output)
{
    Communication::ServerTrust::GetInstance().SetQuestion(this);
}

TrustNotice::~TrustNotice()
{
    Communication::ServerTrust::GetInstance().SetQuestion(nullptr);
}

Communication::TrustAnswer TrustNotice::Ask(const Communication::UntrustedServer& server)
{
    if (output_.ErrorOnce(ForDisplay(server.Describe())))
        output_.Error("\"syclient server trust " + ForDisplay(server.GetPlace()) + "\" trusts it.");
    return Communication::TrustAnswer::Refuse;
}

void TrustNotice::Tell(const Communication::UntrustedServer& server)
{
    if (!output_.ErrorOnce(ForDisplay(server.Describe())))
        return;
    if (server.Has(Communication::TrustProblem::Changed))
        output_.Error("\"syclient server distrust " + ForDisplay(server.GetPlace()) +
                      "\" forgets the former certificate.");
    if (server.Has(Communication::TrustProblem::ClearText))
        output_.Error("--allow-plain-http allows it.");
}
