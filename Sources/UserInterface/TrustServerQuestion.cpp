#include "UserInterface/TrustServerQuestion.hpp"

#include "Files/ResourceNumbers.hpp"
#include "ManagementTool/RunAtScopeEnd.hpp"
#include "OVRoot/Condition.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Resources.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "UserInterface/TrustServerDialog.hpp"

#include <utility>
#include <vector>

namespace Syncra::Server::ManagementTool::GUI {

using Communication::TrustAnswer;
using Communication::TrustProblem;
using Communication::UntrustedServer;

namespace {

/// Outlives whoever asked: he may be told to stop.
struct Waiting {
    UntrustedServer server;
    TrustAnswer answer = TrustAnswer::Refuse;
    OV::Condition answered;
};

struct Queue {
    OV::Lock lock;
    std::vector<std::shared_ptr<Waiting>> questions OV_GUARDED_BY(lock);
};

Queue& Questions()
{
    static auto& queue = *new Queue;
    return queue;
}

void Forget(const UntrustedServer& server)
{
    (void)Communication::ServerTrust::GetInstance().Distrust(server.host, server.port);
}

TrustAnswer ShowDialogFor(const UntrustedServer& server)
{
    if (server.MayBeTrusted()) {
        TrustServerDialog dialog(server);
        return dialog.Invoke() ? dialog.GetAnswer() : TrustAnswer::Refuse;
    }
    if (!server.Has(TrustProblem::Changed))
        OV::ShowAlert(SYC::Alerts::ServerNotTrusted,
                      {server.GetPlace(), server.DescribeProblems() + u" " + server.GetAdvice()});
    else if (CertificateChangedDialog(server).Invoke())
        Forget(server);
    return TrustAnswer::Refuse;
}

/// On the main thread. What fails refuses.
TrustAnswer AskUser(const UntrustedServer& server)
{
    static bool isOpen = false;  // only the main thread looks
    if (isOpen)
        return TrustAnswer::Refuse;
    isOpen = true;
    const Core::RunAtScopeEnd atEnd(OV::MakeTask([] { isOpen = false; }));
    try {
        return ShowDialogFor(server);
    } catch (...) {
        OV::LogCurrentException("SYClient", u"Nobody could be asked about server %: %",
                                server.GetPlace());
        return TrustAnswer::Refuse;
    }
}

}  // namespace

TrustAnswer TrustServerQuestion::Ask(const UntrustedServer& server)
{
    if (std::this_thread::get_id() == mainThread_)
        return AskUser(server);
    const auto waiting = std::make_shared<Waiting>();
    waiting->server = server;
    {
        const OV::LockGuard guard(Questions().lock);
        Questions().questions.push_back(waiting);
    }
    SYCB::MessageLoop::Post(OV::MakeTask(&TrustServerQuestion::AnswerWaiting));
    waiting->answered.Wait();
    return waiting->answer;
}

void TrustServerQuestion::AnswerWaiting()
{
    std::vector<std::shared_ptr<Waiting>> questions;
    {
        const OV::LockGuard guard(Questions().lock);
        questions.swap(Questions().questions);
    }
    for (const auto& waiting : questions) {
        if (waiting.use_count() == 1)
            continue;  // whoever asked was told to stop
        waiting->answer = AskUser(waiting->server);
        waiting->answered.Notify();
    }
}

}  // namespace Syncra::Server::ManagementTool::GUI
