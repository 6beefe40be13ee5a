#include "Flow/Detail/Repositories.hpp"

#include "Flow/Detail/QuickClient.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"

namespace SYC {

std::optional<bool> AskForName(const Syncra::Client::SignInData& login,
                               const OV::UniString& projectName) noexcept
{
    const OV::InterruptionScope inPeace{std::stop_token()};
    try {
        return ConnectQuickly(login)->ProjectExists(projectName);
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library, u"Whether % is there could not be asked: %",
                                u"the project");
        return std::nullopt;
    }
}

}  // namespace SYC
