// Lists the projects of this computer and removes those that nobody has opened for a month, unless
// they hold work that was not sent or somebody has them open.
#include "CleanUp.hpp"
#include "Example.hpp"
#include "OVRoot/Clock.hpp"

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 0, "", [](char**) {
        const auto folder = SYC::RegisteredProjects::GetDefaultDataFolder();
        auto& registry = SYC::registeredProjects();
        registry.RefreshData(false);
        registry.SetLastUsedDays(30);
        OV::Array<SYC::CacheInfoRecord> records;
        registry.RefreshCaches(folder);
        registry.SearchCaches(folder, records);
        for (const auto& record : records)
            std::cout << (record.info ? OV::ToUtf8(record.info->GetProjectName())
                                      : OV::ToUtf8(record.problem))
                      << '\n';
        const auto now = OV::Clock::Current().Now();
        for (const auto& due : SYC::FindCachesToClean(now, folder)) {
            std::cout << "due: " << OV::ToUtf8(due.project.GetProjectName())
                      << (due.hasUnsentWork ? ", holds unsent work" : "")
                      << (due.isInUse ? ", is open" : "") << '\n';
            if (due.MayGo())
                registry.RemoveProject(due.project.GetCacheDataFolderLocation());
        }
        registry.SetLastRunTime(now);
        return 0;
    });
}
