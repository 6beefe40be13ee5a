#include "SYClientBase/ProjectURL.hpp"

namespace SYCB {

OV::UniString GetServerName(const IO::Location& location)
{
    return location.GetHost();
}

OV::UniString GetProjectName(const IO::Location& location)
{
    return location.GetComponents().empty() ? OV::UniString() : location.GetComponents().front();
}

void SetServerName(IO::Location& location, OV::UniString serverName)
{
    location.SetHost(std::move(serverName));
}

void SetProjectName(IO::Location& location, OV::UniString projectName)
{
    std::vector<OV::UniString> components;
    if (!projectName.empty())
        components.push_back(std::move(projectName));
    location.SetComponents(std::move(components));
}

}  // namespace SYCB
