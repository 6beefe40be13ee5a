#pragma once

#include "Messaging/MailAction.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// Announces a kind of action to MailActionRegistry for as long as it lives. Meant to be a static
/// object at namespace scope, which makes the kind known from load to unload. In a static library,
/// see that the linker has a reason to take the object file with the descriptor.
class SYC_API MailActionDescriptor {
public:
    /// Makes an empty action of the kind.
    using Factory = OV::Ref<MailAction> (*)();

    /// Throws OV::IllegalArgumentException when `factory` is null or `id` is empty. When another
    /// descriptor has the id already, that one stays in effect.
    MailActionDescriptor(Factory factory, OV::UniString id);
    ~MailActionDescriptor();
    MailActionDescriptor(const MailActionDescriptor&) = delete;
    MailActionDescriptor& operator=(const MailActionDescriptor&) = delete;

    /// Of the kind.
    [[nodiscard]] const OV::UniString& GetId() const noexcept { return id_; }
    /// A new, empty action.
    [[nodiscard]] OV::Ref<MailAction> GetAction() const { return factory_(); }

private:
    Factory factory_;
    OV::UniString id_;
};

}  // namespace SYC
