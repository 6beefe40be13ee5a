#include "Commands.hpp"

#include "Diagnosis/LogFile.hpp"
#include "InterruptNote.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "TerminalWait.hpp"
#include "TransportOptions.hpp"
#include "UsageError.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

constexpr const char* Version = "syclient " SYCLIENT_VERSION;

/// Help of a command says that the options of the program hold there, too.
class Help final : public CLI::Formatter {
public:
    std::string make_footer(const CLI::App* command) const override
    {
        const std::string own = Formatter::make_footer(command);
        return command->get_parent() == nullptr ? own
                                                : own + "\nAlso --json, --quiet, --verbose, "
                                                        "--profile, --data-folder and those for "
                                                        "connections: \"syclient --help\".\n";
    }
};

void AddGlobalOptions(CLI::App& app, Context& context)
{
    app.set_version_flag("--version", Version);
    app.add_flag("--json", context.output.json, "Print one JSON value for scripts");
    app.add_flag("-v,--verbose", context.output.verbose,
                 "Show the library's log on standard error");
    app.add_flag("-q,--quiet", context.output.quiet, "Show no progress");
    app.add_option("--data-folder", context.dataFolder,
                   "Where the caches stand (default: as \"syclient options show\" says)")
        ->option_text("DIR");
    app.add_option("--profile", context.profile,
                   "Take from this profile what no option names (default: the current one)")
        ->option_text("NAME");
    app.footer(
        "\"syclient login\" asks once where you work and remembers it. A password comes from "
        "what this computer\nkeeps, a prompt, --password-file or --password-stdin.\n"
        "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing of that name, and those of "
        "\"syclient open --help\".");
    app.require_subcommand(1);
    app.fallthrough();
}

bool HasWord(int argc, char** argv, std::string_view word)
{
    return std::any_of(argv + 1, argv + argc, [=](const char* each) { return each == word; });
}

/// "--option=" has an empty value; the parser would take the next word for it.
std::vector<std::string> Words(int argc, char** argv)
{
    std::vector<std::string> words;
    for (int i = argc - 1; i > 0; --i) {  // the parser reads them from the back
        const std::string word = argv[i];
        if (!OV::IsWellFormedUtf8(word))
            throw OV::IllegalArgumentException(
                OV::StringView("A word of the command line is no UTF-8; nothing was done."));
        const bool isEmptyValue =
            word.size() > 3 && word.starts_with("--") && word.find('=') == word.size() - 1;
        if (isEmptyValue)
            words.emplace_back();
        words.push_back(isEmptyValue ? word.substr(0, word.size() - 1) : word);
    }
    return words;
}

void End(Context& context, ExitCode exitCode, const std::string& reason)
{
    context.exitCode = exitCode;
    // What was cancelled has been told, and has no words.
    if (!reason.empty())
        context.output.Error(reason);
}

void Run(CLI::App& app, Context& context, int argc, char** argv)
{
    try {
        app.parse(Words(argc, argv));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            (void)app.exit(error);
            return;
        }
        context.output.json = context.output.json || HasWord(argc, argv, "--json");
        End(context, ExitCode::Usage, DescribeUsageError(app, error));
    } catch (const OV::Exception& error) {
        const ExitCode exitCode = ExitCodeOf(error);
        End(context, exitCode,
            ForDisplay(exitCode == ExitCode::Failure ? OV::MessageWithCauses(error)
                                                     : error.GetMessage()));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        End(context, ExitCode::Failure, ForDisplay(OV::FromUtf8(error.what())));
    }
}

/// A command that Ctrl-C or SIGTERM ended has put its things in order; its caller, a shell in a
/// loop above all, is to see that a signal ended it.
[[noreturn]] void DieBySignal()
{
    std::signal(InterruptNote::Signal(), SIG_DFL);
    std::raise(InterruptNote::Signal());
    std::_Exit(128 + InterruptNote::Signal());
}

int Run(int argc, char** argv)
{
    CLI::App app("Work with shared projects on a Nexar Server from a shell.", "syclient");
    app.formatter(std::make_shared<Help>());
    Context context;
    const TerminalWait wait(context.output);
    const TrustNotice trust(context.output);
    TransportOptions transport;
    AddGlobalOptions(app, context);
    transport.AddOptions(app);
    const SYC::LogFile log(SYC::LogFile::GetDefaultLocation());
    OV::Logger::SetSink([&](const OV::LogRecord& record) {
        context.output.Log(record);
        if (record.level != OV::LogLevel::Debug)
            log.Write(record);
    });
    app.parse_complete_callback([&] { transport.Apply(); });
    AddCommands(app, context);
    Run(app, context, argc, argv);
    if (InterruptNote::WasInterrupted())
        context.exitCode = static_cast<ExitCode>(128 + InterruptNote::Signal());
    const ExitCode exitCode = context.Finish();
    if (InterruptNote::WasInterrupted())
        DieBySignal();
    OV::Logger::SetSink([](const OV::LogRecord&) {});
    return static_cast<int>(exitCode);
}

/// Work of ours that is still under way ends as always (OVRoot/ProcessEnd.hpp). What the libraries
/// of the system would free one by one, while the user waits, goes with the process.
[[noreturn]] void EndProcess(int exitCode)
{
    // Sanitizers look for leaks, and report, when a process ends in the long way.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    std::exit(exitCode);
#else
    std::fflush(nullptr);
    std::quick_exit(exitCode);
#endif
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        EndProcess(Run(argc, argv));
    } catch (const std::bad_alloc&) {
        // Nothing may be allocated to say so.
        std::fputs("syclient: There is not enough memory. Close other programs and try again.\n",
                   stderr);
        return static_cast<int>(ExitCode::Failure);
    }
}
