#include "Messaging/OverExecutor.hpp"

namespace SYC {

void OverExecutor::Target::Post(std::function<void()> work) const
{
    if (executor_ == nullptr)
        return;
    executor_->Execute(OV::MakeTask([identity = identity_, work = std::move(work)] {
        if (Identified::InstanceExist(identity))
            work();
    }));
}

}  // namespace SYC
