#include "ServerArguments.hpp"

#include "OVRoot/UniString.hpp"
#include "Output.hpp"

#include <CLI/CLI.hpp>

void AddressArguments::AddOptions(CLI::App& command, bool areRequired)
{
    command.add_option("-s,--server", server, "Server: host name or address; https://HOST for TLS")
        ->required(areRequired)
        ->option_text("HOST");
    command.add_option("-p,--port", port, "Model port of the server")
        ->required(areRequired)
        ->option_text("N");
}

void ServerArguments::AddOptions(CLI::App& command, bool areRequired)
{
    AddressArguments::AddOptions(command, areRequired);
    command.add_option("-u,--user", user, "Your login name")
        ->required(areRequired)
        ->option_text("NAME");
    password.AddOptions(command);
}

std::string ServerArguments::Describe() const
{
    return ForDisplay(OV::FromUtf8(user)) + " on " + ForDisplay(OV::FromUtf8(server)) + ":" +
           std::to_string(port);
}
