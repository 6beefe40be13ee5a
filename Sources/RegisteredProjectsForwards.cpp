#include "OVRoot/Clock.hpp"
#include "RegisteredProjects.hpp"

namespace SYC {

template <class Result>
auto RegisteredProjects::Ask(const IO::Location& project, Result (CachedProjectInfo::*getter)()
                                                              const) -> std::remove_cvref_t<Result>
{
    const auto info = GetCacheInfo(project, false);
    return info ? ((*info).*getter)() : std::remove_cvref_t<Result>();
}

template <class... Arguments, class... Given>
bool RegisteredProjects::Tell(const IO::Location& project,
                              void (CachedProjectInfo::*setter)(Arguments...),
                              const Given&... arguments)
{
    const auto image = GetCachedProjectInfo(project);
    if (image)
        ((*image).*setter)(arguments...);
    return image != nullptr;
}

using Info = CachedProjectInfo;

bool RegisteredProjects::ProjectOpened(const IO::Location& project)
{
    return Tell(project, &Info::SetLastOpenProjectTime, OV::Clock::Current().Now());
}

bool RegisteredProjects::GetIDs(const IO::Location& project, OV::UniString& projectId,
                                OV::UniString& userId)
{
    const auto info = GetCacheInfo(project, false);
    projectId = info ? info->GetProjectId() : OV::UniString();
    userId = info ? info->GetUserId() : OV::UniString();
    return info != nullptr;
}

std::int32_t RegisteredProjects::GetLastOpenedTime(const IO::Location& project)
{
    return Ask(project, &Info::GetLastOpenProjectTime);
}
OV::UniString RegisteredProjects::GetProjectVersion(const IO::Location& project)
{
    return Ask(project, &Info::GetProjectVersion);
}
bool RegisteredProjects::SetProjectVersion(const IO::Location& project,
                                           const OV::UniString& version)
{
    return Tell(project, &Info::SetProjectVersion, version);
}
std::int32_t RegisteredProjects::GetProjectBuildNum(const IO::Location& project)
{
    return Ask(project, &Info::GetProjectBuildNum);
}
bool RegisteredProjects::SetProjectBuildNum(const IO::Location& project, std::int32_t build)
{
    return Tell(project, &Info::SetProjectBuildNum, build);
}
bool RegisteredProjects::IsProjectDetached(const IO::Location& project)
{
    return Ask(project, &Info::IsProjectDetached);
}
bool RegisteredProjects::ProjectDetached(const IO::Location& project)
{
    return Tell(project, &Info::ProjectDetached);
}
std::int32_t RegisteredProjects::GetTravelPackageCreationTime(const IO::Location& project)
{
    return Ask(project, &Info::GetTravelPackageCreationTime);
}
bool RegisteredProjects::SetTravelPackageCreationTime(const IO::Location& project,
                                                      std::int32_t time)
{
    return Tell(project, &Info::SetTravelPackageCreationTime, time);
}
bool RegisteredProjects::IsTravelPackageCreated(const IO::Location& project)
{
    return Ask(project, &Info::IsTravelPackageCreated);
}
bool RegisteredProjects::SetTravelPackageCreated(const IO::Location& project, bool created)
{
    return Tell(project, &Info::SetTravelPackageCreated, created);
}
bool RegisteredProjects::ExtractedFromTravelPackage(const IO::Location& project)
{
    return Ask(project, &Info::ExtractedFromTravelPackage);
}
bool RegisteredProjects::SetExtractedFromTravelPackage(const IO::Location& project, bool extracted)
{
    return Tell(project, &Info::SetExtractedFromTravelPackage, extracted);
}
bool RegisteredProjects::IsEnabledTravelPackageWarningAtClose(const IO::Location& project)
{
    return Ask(project, &Info::IsEnabledTravelPackageWarningAtClose);
}
bool RegisteredProjects::EnableTravelPackageWarningAtClose(const IO::Location& project, bool enable)
{
    return Tell(project, &Info::EnableTravelPackageWarningAtClose, enable);
}

}  // namespace SYC
