#pragma once

#include "SYCommunication/ServerTrust.hpp"

#include <thread>

namespace Syncra::Server::ManagementTool::GUI {

/// Asks and tells about servers that are not trusted by dialogs on the main thread, on which it is
/// made. A request of another thread waits for the answer; the main thread takes it in its message
/// loop, or while it waits behind AsyncTaskDialog. One dialog at a time: what is asked while one is
/// open is refused, and may be asked again by the next request.
class TrustServerQuestion final : public Communication::TrustQuestion {
public:
    Communication::TrustAnswer Ask(const Communication::UntrustedServer& server) override;
    void Tell(const Communication::UntrustedServer& server) override { (void)Ask(server); }

    /// For the main thread while it blocks: answers what other threads asked.
    static void AnswerWaiting();

private:
    const std::thread::id mainThread_ = std::this_thread::get_id();
};

}  // namespace Syncra::Server::ManagementTool::GUI
