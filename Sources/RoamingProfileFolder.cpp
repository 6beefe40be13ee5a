#include "RoamingProfileFolder.hpp"

#include "ManagementTool/RoamingProfile.hpp"

namespace SYC {

IO::Location GetRoamingProfileFolderLocation()
{
    return Syncra::Server::ManagementTool::Core::GetRoamingProfileFolderLocation();
}

}  // namespace SYC
