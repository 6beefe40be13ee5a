// Opens a cached project without its server: the password of the URL is held against the one that
// this computer keeps for the user. With dialogs (silent = false, and a toolkit) the user is asked
// until the two match.
#include "AuthenticateOnCache.hpp"
#include "Example.hpp"

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        SYC::ClientProjectConnectionManager manager(
            Example::ProjectUrl(arguments[1]), SYC::RegisteredProjects::GetDefaultDataFolder(), {});
        const auto cache = manager.FindCache();
        if (!cache)
            throw OV::Exception(OV::StringView("The project was never opened on this computer."));
        if (!SYC::AuthenticateOnCache(&manager, true)) {
            std::cerr << "The password is not the one that this computer keeps.\n";
            return 1;
        }
        std::cout << "offline as " << OV::ToUtf8(cache->GetUserName()) << ", "
                  << OV::ToUtf8(cache->GetRoleName()) << '\n';
        return 0;
    });
}
