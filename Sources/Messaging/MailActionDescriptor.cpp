#include "Messaging/MailActionDescriptor.hpp"

#include "Messaging/MailActionRegistry.hpp"

namespace SYC {

MailActionDescriptor::MailActionDescriptor(Factory factory, OV::UniString id)
    : factory_(factory), id_(std::move(id))
{
    if (!factory_)
        throw OV::IllegalArgumentException("A mail action kind has no factory.");
    if (id_.empty())
        throw OV::IllegalArgumentException("A mail action kind has no id.");
    MailActionRegistry::GetRegistry().RegisterAction(this);
}

MailActionDescriptor::~MailActionDescriptor()
{
    MailActionRegistry::GetRegistry().RevokeAction(this);
}

}  // namespace SYC
