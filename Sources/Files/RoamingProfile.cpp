#include "Files/RoamingProfile.hpp"

#include "IO/SpecialFolder.hpp"

namespace Syncra::Server::ManagementTool::Core {

IO::Location GetRoamingProfileFolderLocation()
{
    return IO::GetSpecialFolder(IO::SpecialFolder::RoamingApplicationData);
}

}  // namespace Syncra::Server::ManagementTool::Core
