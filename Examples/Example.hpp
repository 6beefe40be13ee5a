// What the examples share: a project opened with the simplest means, and how they end.
#pragma once

#include "ClientProjectConnectionManager.hpp"
#include "Flow/Flow.hpp"
#include "ReadProjectConnection.hpp"
#include "RegisteredProjects.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"

#include <functional>
#include <iostream>

namespace Example {

inline IO::Location ProjectUrl(const char* text)
{
    return IO::Location::FromUrlText(OV::FromUtf8(text));
}

/// The manager of a project that passed its check; throws OV::Exception with the reason otherwise.
class OpenedProject {
public:
    explicit OpenedProject(const char* url)
        : manager(ProjectUrl(url), SYC::RegisteredProjects::GetDefaultDataFolder(), {})
    {
        SYC::ReadProjectConnection connection(&manager);
        if (connection.Check(true, false, true, true) != SYC::CheckResult::Passed)
            throw OV::Exception(connection.GetLastFailure().sentence + u" " +
                                connection.GetLastFailure().advice);
        projectId = connection.GetProjectId();
    }

    SYC::ClientProjectConnectionManager manager;
    OV::UniString projectId;
};

/// Runs the message loop until `done` holds; throws when that takes a minute.
inline void RunUntil(const std::function<bool()>& done, const char* what)
{
    // Some of what is waited for happens on other threads and posts nothing: look now and then.
    for (int looks = 0; !SYCB::MessageLoop::RunUntil(done, 20); ++looks)
        if (looks == 3000)
            throw OV::Exception(OV::StringView(what));
}

/// Waits for the end of a flow; throws what kept it from its aim.
inline void Await(const SYC::Flow& flow)
{
    RunUntil([&] { return !flow.IsRunning(); }, "the flow does not end");
    if (const auto& failure = flow.GetFailure())
        throw OV::Exception(failure.sentence + u" " + failure.advice);
}

/// The body of main: everything that leaves the library is an OV::Exception.
inline int Run(int argc, char** argv, int arguments, const char* usage,
               const std::function<int(char** argv)>& body)
{
    if (argc != arguments + 1) {
        std::cerr << "usage: " << argv[0] << " " << usage
                  << "\n(\"syclient url build\" prints a URL)\n";
        return 2;
    }
    try {
        return body(argv);
    } catch (const OV::Exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}

}  // namespace Example
