#include "Context.hpp"

#include "RegisteredProjects.hpp"

#include <iostream>

IO::Location Context::DataFolder() const
{
    return dataFolder.empty() ? Registry().GetSYDataFolder()
                              : IO::Location::FromPath(OV::FromUtf8(dataFolder));
}

ExitCode Context::Finish()
{
    if (exitCode == ExitCode::AccessDenied && isPasswordStored)
        output.Error("The password was the stored one; \"syclient login\" or \"syclient password "
                     "set\" stores another.");
    const auto orNull = [](const std::string& text) {
        return text.empty() ? Json(nullptr) : ForJson(OV::FromUtf8(text));
    };
    output.FinishMessages(exitCode == ExitCode::Success
                              ? Json(nullptr)
                              : Json{{"code", static_cast<int>(exitCode)},
                                     {"kind", WordOf(exitCode)},
                                     {"server", orNull(place.server)},
                                     {"port", place.port == 0 ? Json(nullptr) : Json(place.port)},
                                     {"user", orNull(place.user)},
                                     {"project", orNull(place.project)}});
    if (!Output::Flush() && exitCode == ExitCode::Success) {
        exitCode = ExitCode::Failure;
        std::cerr
            << "syclient: What was to be printed could not be written; the disk may be full, or "
               "the output closed.\n";
    }
    return exitCode;
}

SYC::RegisteredProjects& Context::Registry()
{
    static const bool isRead = [] {
        SYC::RegisteredProjects::Init(SYC::RegisteredProjects::GetDefaultDataFolder());
        SYC::registeredProjects().RefreshData(false);
        return true;
    }();
    (void)isRead;
    return SYC::registeredProjects();
}
