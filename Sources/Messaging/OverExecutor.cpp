#include "Messaging/OverExecutor.hpp"

#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Logger.hpp"

namespace SYC {

bool OverExecutor::Target::Post(std::function<void()> work) const noexcept
{
    if (executor_ == nullptr)
        return false;
    OV::AssertNoLockHeld("an executor");
    try {
        return executor_->Execute(OV::MakeTask([identity = identity_, work = std::move(work)] {
            if (Identified::InstanceExist(identity))
                work();
        }));
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library, u"% failed, a notification is lost: %",
                                u"An executor");
        return false;
    }
}

}  // namespace SYC
