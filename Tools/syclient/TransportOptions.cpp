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
    group.add_flag("--allow-plain-http", options_.allowPlainHttp,
                   "Plain HTTP to other computers, which shows passwords on the way");
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
