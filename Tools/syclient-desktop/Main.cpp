#include "CacheFolders.hpp"
#include "Dlg/Qt/QtToolkit.hpp"
#include "MainWindow.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

#include <QApplication>
#include <QCommandLineParser>

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
    MainWindow window(SYC::CacheFolders::GetDefaultDataFolder());
    window.SetLogin(parser.value("server"), parser.value("port").toInt(), parser.value("user"));
    window.show();
    return QApplication::exec();
}
