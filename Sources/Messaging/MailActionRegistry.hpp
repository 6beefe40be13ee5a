#pragma once

#include "Messaging/MailActionDescriptor.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"

namespace SYC {

/// The kinds of mail action of this process, by id. Any thread. The registry does not own the
/// descriptors: whoever takes one away sees to it that no mail is being read meanwhile.
class SYC_API MailActionRegistry {
public:
    /// The one registry, made by the first call.
    [[nodiscard]] static OV::Ref<MailActionRegistry> GetInstance();
    /// The same without a holder.
    [[nodiscard]] static MailActionRegistry& GetRegistry();

    /// A second descriptor of the same id is ignored; the first stays.
    void RegisterAction(MailActionDescriptor* descriptor);
    /// Goes by the id alone: revoking an ignored second descriptor removes the first one's entry.
    void RevokeAction(MailActionDescriptor* descriptor);
    /// Null for an unknown id.
    [[nodiscard]] MailActionDescriptor* GetActionDescriptor(const OV::UniString& id) const;

private:
    mutable OV::Lock lock_;
    OV::HashTable<OV::UniString, MailActionDescriptor*> descriptors_ OV_GUARDED_BY(lock_);
};

}  // namespace SYC
