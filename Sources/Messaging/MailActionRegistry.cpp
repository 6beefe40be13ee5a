#include "Messaging/MailActionRegistry.hpp"

#include "Messaging/DummyAction.hpp"

namespace SYC {

namespace {

// Here and not beside DummyAction: nothing refers to that object file, so a host that links the
// static library would be without the kind.
[[maybe_unused]] const auto& dummyActionDescriptor =
    *new MailActionDescriptor(&DummyAction::Make, OV::UniString(DummyAction::Id));

MailActionDescriptor& Checked(MailActionDescriptor* descriptor)
{
    if (!descriptor)
        throw OV::NullReferenceException();
    return *descriptor;
}

}  // namespace

OV::Ref<MailActionRegistry> MailActionRegistry::GetInstance()
{
    static const auto& instance = *new auto(OV::MakeRef<MailActionRegistry>());
    return instance;
}

MailActionRegistry& MailActionRegistry::GetRegistry()
{
    return *GetInstance();
}

void MailActionRegistry::RegisterAction(MailActionDescriptor* descriptor)
{
    const OV::UniString& id = Checked(descriptor).GetId();
    const OV::LockGuard guard(lock_);
    descriptors_.try_emplace(id, descriptor);
}

void MailActionRegistry::RevokeAction(MailActionDescriptor* descriptor)
{
    const OV::UniString& id = Checked(descriptor).GetId();
    const OV::LockGuard guard(lock_);
    descriptors_.erase(id);
}

MailActionDescriptor* MailActionRegistry::GetActionDescriptor(const OV::UniString& id) const
{
    const OV::LockGuard guard(lock_);
    const auto found = descriptors_.find(id);
    return found == descriptors_.end() ? nullptr : found->second;
}

}  // namespace SYC
