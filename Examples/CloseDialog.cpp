// Asks what becomes of local changes, and closes the project. Without a desktop a script answers; a
// host with Qt makes a Dlg::QtToolkit in its place and lets the user answer.
#include "CloseSession.hpp"
#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "Example.hpp"
#include "Failure.hpp"
#include "UserInterface/CloseProjectDialog.hpp"

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        using Dialog = SYC::CloseProjectDialog;
        Dlg::HeadlessToolkit toolkit;
        Example::OpenedProject project(arguments[1]);
        toolkit.AddScript(Dialog::Number,
                          [](Dlg::HeadlessDialog& dialog) { dialog.Press(Dialog::MainButton); });
        const auto cache = project.manager.FindCache();
        Dialog dialog(true, false, cache->IsChanges(), false, cache->IsProjectForcedOffline(),
                      cache->IsReservation(), cache->GetProjectName());
        if (!dialog.Invoke() || dialog.GetResult() == Dialog::Result::Cancelled)
            return 1;
        // The host sends and saves here what the result says.
        SYC::Failure failure;
        if (!SYC::CloseSession(project.manager, failure)) {
            std::cerr << OV::ToUtf8(failure.sentence) << '\n';
            return 1;
        }
        std::cout << "closed with " << dialog.GetResult() << '\n';
        return 0;
    });
}
