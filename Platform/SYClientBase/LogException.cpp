#include "SYClientBase/LogException.hpp"

#include "OVRoot/Logger.hpp"

namespace SYCB {

void LogException(const OV::Exception& exception) noexcept
{
    try {
        for (const OV::Exception* each = &exception; each != nullptr; each = each->GetCause())
            OV::Logger::Error(
                OV::Logger::Library, u"%: %; File: % line: %",
                {each->GetName(), each->GetMessage(), each->GetSourceName(), each->GetLine()});
    } catch (...) {
        // There is no memory for the line; the exception itself goes on.
    }
}

}  // namespace SYCB
