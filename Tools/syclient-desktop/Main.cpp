#include "BinCacheHandler/BinCacheHandler.hpp"
#include "Charts.hpp"
#include "DesktopText.hpp"
#include "Dlg/Qt/QtToolkit.hpp"
#include "MainWindow.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"
#include "RegisteredProjects.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"
#include "WindowLanguage.hpp"

#include <QApplication>
#include <QCommandLineParser>
#include <QSize>
#include <algorithm>
#include <iostream>
#include <string_view>

namespace {

/// Where the options of this machine say. Without readable ones the window opens all the same.
IO::Location DataFolder()
{
    auto& registry = SYC::registeredProjects();
    SYC::RegisteredProjects::Init(SYC::RegisteredProjects::GetDefaultDataFolder());
    try {
        registry.RefreshData(false);
    } catch (const std::exception& error) {
        OV::Logger::Error(OV::Logger::Library, u"%", {error.what()});
    }
    return registry.GetSYDataFolder();
}

/// "800x500".
QSize ReadSize(const QString& text)
{
    const auto parts = text.split('x');
    return parts.size() == 2 ? QSize(parts[0].toInt(), parts[1].toInt()) : QSize();
}

/// Draws a chart of a cached log without a window. The exit code.
int DrawChart(const QCommandLineParser& options)
{
    constexpr int longest = 10'000;
    const QString kind = options.value("chart");
    const QSize size = ReadSize(options.value("size"));
    if (!Charts::Kinds().contains(kind) || size.width() < 1 || size.height() < 1 ||
        size.width() > longest || size.height() > longest) {
        std::cerr << "syclient-desktop: --chart takes one of "
                  << Charts::Kinds().join(", ").toStdString() << "; --size, as 800x500.\n";
        return 2;
    }
    try {
        SYC::BinCacheHandler cache(FromQt(options.value("log-cache")));
        cache.GetCacheData();
        const auto data = Charts::MakeData(cache);
        if (Charts::Render(kind, data, size, options.value("out")))
            return 0;
        std::cerr << "syclient-desktop: \"" << options.value("out").toStdString()
                  << "\" cannot be written.\n";
    } catch (const std::exception& error) {
        std::cerr << "syclient-desktop: " << error.what() << '\n';
    }
    return 1;
}

void ApplyTransport(const QCommandLineParser& options)
{
    auto transport = Communication::DefaultHttpOptions();
    transport.authoritiesFile = options.value("ca-file").toStdString();
    transport.certificateFile = options.value("client-certificate").toStdString();
    transport.keyFile = options.value("client-key").toStdString();
    transport.proxy = options.value("proxy").toStdString();
    transport.noProxy = options.value("no-proxy").toStdString();
    transport.allowPlainHttp = options.isSet("allow-plain-http");
    Communication::SetDefaultHttpOptions(transport);
}

/// Whether the program only prints how it is used, which needs no display.
bool OnlyTells(int argumentCount, char** arguments)
{
    static constexpr std::string_view words[] = {"-h", "--help", "--help-all", "-v", "--version"};
    return std::any_of(arguments + 1, arguments + argumentCount, [](const char* each) {
        return std::find(std::begin(words), std::end(words), each) != std::end(words);
    });
}

}  // namespace

int main(int argumentCount, char** arguments)
try {
    QCoreApplication::setApplicationName("syclient-desktop");
    QCoreApplication::setApplicationVersion(SYCLIENT_VERSION);
    QCommandLineParser parser;
    parser.setApplicationDescription("Shared projects of a Nexar Server in a window.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({{{"s", "server"}, "Server to begin with; https://HOST for TLS.", "HOST"},
                       {{"p", "port"}, "Its model port.", "N", "19001"},
                       {{"u", "user"}, "Login name.", "NAME"},
                       {{"n", "project"}, "Project of that server to open at once.", "NAME"},
                       {"ca-file", "Authorities to trust for TLS instead of the system's.", "FILE"},
                       {"client-certificate", "By which a server knows this computer.", "FILE"},
                       {"client-key", "The key of that certificate.", "FILE"},
                       {"proxy", "Instead of the one of the environment.", "URL"},
                       {"no-proxy", "Hosts and domains to reach without it.", "LIST"},
                       {"allow-plain-http", "Plain HTTP to other computers; passwords are seen."},
                       {"chart", "Draw a chart of a cached log and end.", "KIND"},
                       {"log-cache", "The name of the cached log.", "NAME"},
                       {"size", "Of the chart, in pixels.", "WxH", "900x540"},
                       {"out", "The PNG file of the chart.", "FILE"}});
    if (OnlyTells(argumentCount, arguments)) {
        const QCoreApplication words(argumentCount, arguments);
        parser.process(words);
    }
    const QApplication application(argumentCount, arguments);
    parser.process(application);
    if (!parser.positionalArguments().isEmpty() || parser.value("port").toUShort() == 0) {
        std::cerr << "syclient-desktop: --port takes a number from 1 to 65535, and nothing stands "
                     "beside the options.\n";
        return 2;
    }
    if (parser.isSet("chart"))
        return DrawChart(parser);
    InstallLanguage();
    ApplyTransport(parser);
    const Dlg::QtToolkit toolkit;
    Syncra::Server::ManagementTool::GUI::SetAsyncTaskDialogExecutingImplementationForCore();
    MainWindow window(DataFolder());
    window.show();
    if (parser.isSet("server") || parser.isSet("project")) {
        MainWindow::Login login;
        login.serverName = FromQt(parser.value("server"));
        login.port = parser.value("port").toUShort();
        login.userName = FromQt(parser.value("user"));
        login.projectName = FromQt(parser.value("project"));
        login.projectName.empty() ? window.AddServer(login) : window.Open(std::move(login));
    }
    return QApplication::exec();
} catch (const std::exception& error) {
    // Not even the folders of the user can be used.
    std::cerr << "syclient-desktop: " << error.what() << '\n';
    return 1;
}
