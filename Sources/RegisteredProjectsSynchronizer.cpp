#include "RegisteredProjectsSynchronizer.hpp"

#include "Registry/Detail/DataOptionsFile.hpp"

namespace SYC {

/// Keeps the file that it locked, though the registry be reset meanwhile.
struct RegisteredProjects::Synchronizer::State {
    std::shared_ptr<DataOptionsFile> file;
    DataOptionsHold hold{*file};
};

RegisteredProjects::Synchronizer::Synchronizer() : state_(new State{registeredProjects().Options()})
{}

RegisteredProjects::Synchronizer::~Synchronizer() = default;

bool RegisteredProjects::Synchronizer::IsLocked()
{
    return registeredProjects().Options()->IsLocked();
}

bool RegisteredProjects::Synchronizer::IsLockedByOthers()
{
    return registeredProjects().Options()->IsLockedByOthers();
}

bool RegisteredProjects::Synchronizer::WaitForLock()
{
    return registeredProjects().Options()->WaitForLock();
}

void RegisteredProjects::Synchronizer::RemoveLock()
{
    registeredProjects().Options()->RemoveLock();
}

void RegisteredProjects::Synchronizer::Reset()
{
    registeredProjects().Options()->ForgetHolders();
}

IO::Location RegisteredProjects::Synchronizer::GetLockFileLoc()
{
    return registeredProjects().Options()->GetLockLocation();
}

}  // namespace SYC
