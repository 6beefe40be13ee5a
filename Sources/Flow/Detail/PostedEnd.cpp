#include "Flow/Detail/PostedEnd.hpp"

#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

void PostHome(OV::Executor& home, const char16_t* what, std::function<void()> work) noexcept
{
    try {
        if (home.Execute(OV::MakeTask(std::move(work))))
            return;
        OV::Logger::Warning(OV::Logger::Library,
                            u"% went on, and the host's executor takes nothing any more.", {what});
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library, u"How % went on could not be told: %", what);
    }
}

}  // namespace SYC
