#include "Dlg/Qt/QtToolkit.hpp"
#include "MainWindow.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"
#include "RegisteredProjects.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

#include <QApplication>
#include <QCommandLineParser>

namespace {

/// Where the options of this machine say. Without readable ones the window opens all the same.
IO::Location DataFolder()
{
    auto& registry = SYC::registeredProjects();
    SYC::RegisteredProjects::Init(SYC::RegisteredProjects::GetDefaultDataFolder());
    try {
        registry.RefreshData(false);
    } catch (const OV::Exception& error) {
        OV::Logger::Error("SYClient", u"%", {error.GetMessage()});
    }
    return registry.GetSYDataFolder();
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    const QApplication application(argumentCount, arguments);
    QApplication::setApplicationName("syclient-desktop");
    QApplication::setApplicationVersion(SYCLIENT_VERSION);
    QCommandLineParser parser;
    parser.setApplicationDescription("Shared projects of a Nexar Server in a window.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({{{"s", "server"}, "Server to begin with.", "HOST"},
                       {{"p", "port"}, "Its model port.", "N", "19001"},
                       {{"u", "user"}, "Login name.", "NAME"}});
    parser.process(application);

    const Dlg::QtToolkit toolkit;
    Syncra::Server::ManagementTool::GUI::SetAsyncTaskDialogExecutingImplementationForCore();
    MainWindow window(DataFolder());
    window.SetLogin(parser.value("server"), parser.value("port").toInt(), parser.value("user"));
    window.show();
    return QApplication::exec();
}
