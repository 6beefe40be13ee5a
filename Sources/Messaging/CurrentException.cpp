#include "Messaging/Detail/CurrentException.hpp"

#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

OV::UniString MessageOfCurrentException()
{
    try {
        throw;
    } catch (const OV::Exception& error) {
        return error.GetMessage();
    } catch (const std::exception& error) {
        return OV::FromUtf8(error.what());
    } catch (...) {
        return OV::UniString(u"an exception of an unknown type");
    }
}

void LogCurrentException(OV::UniStringView format, OV::UniStringView what) noexcept
{
    try {
        OV::Logger::Warning("SYClient", format, {what, MessageOfCurrentException()});
    } catch (...) {
        // The line is lost, and nothing else.
    }
}

}  // namespace SYC
