#include "Commands.hpp"

#include "OVRoot/Exception.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "TerminalWait.hpp"
#include "TransportOptions.hpp"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>
#include <new>

namespace {

constexpr const char* Version = "syclient " SYCLIENT_VERSION;

void SendLogToStandardError(bool verbose)
{
    OV::Logger::SetSink([verbose](const OV::LogRecord& record) {
        if (const auto text = ForDisplay(record.text);
            verbose || (record.level >= OV::LogLevel::Warning && !Output::WasTold(text)))
            std::cerr << "syclient: " << text << '\n';
    });
}

void AddGlobalOptions(CLI::App& app, Context& context, bool& verbose)
{
    app.set_version_flag("--version", Version);
    app.add_flag("--json", context.output.json, "Print one JSON value for scripts");
    app.add_flag("-v,--verbose", verbose, "Show the library's log on standard error");
    app.add_flag("-q,--quiet", context.output.quiet, "Show no progress");
    app.add_option("--data-folder", context.dataFolder,
                   "Where the caches stand (default: as \"syclient options show\" says)")
        ->option_text("DIR");
    app.footer("A password comes from a prompt, from --password-file or from --password-stdin.\n"
               "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing of that name, and those of "
               "\"syclient open --help\".");
    app.require_subcommand(1);
    app.fallthrough();
}

int Run(CLI::App& app, Context& context, int argc, char** argv)
{
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(ExitCode::Usage);
    } catch (const OV::IllegalArgumentException& error) {
        context.output.Error(ForDisplay(error.GetMessage()));
        return static_cast<int>(ExitCode::Usage);
    } catch (const OV::Exception& error) {
        context.output.Error(ForDisplay(OV::MessageWithCauses(error)));
        return static_cast<int>(ExitCode::Failure);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        context.output.Error(ForDisplay(OV::FromUtf8(error.what())));
        return static_cast<int>(ExitCode::Failure);
    }
    return static_cast<int>(context.exitCode);
}

int Run(int argc, char** argv)
{
    CLI::App app("Work with shared projects on a Nexar Server from a shell.", "syclient");
    Context context;
    const TerminalWait wait(context.output);
    const TrustNotice trust(context.output);
    bool verbose = false;
    TransportOptions transport;
    AddGlobalOptions(app, context, verbose);
    transport.AddOptions(app);
    app.parse_complete_callback([&] {
        SendLogToStandardError(verbose);
        transport.Apply();
    });
    AddCommands(app, context);
    return Run(app, context, argc, argv);
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        // Nothing may be allocated to say so.
        std::fputs("syclient: There is not enough memory. Close other programs and try again.\n",
                   stderr);
        return static_cast<int>(ExitCode::Failure);
    }
}
