#include "Context.hpp"

#include "RegisteredProjects.hpp"

IO::Location Context::DataFolder() const
{
    return dataFolder.empty() ? Registry().GetSYDataFolder()
                              : IO::Location::FromPath(OV::FromUtf8(dataFolder));
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
