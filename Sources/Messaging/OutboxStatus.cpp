#include "Messaging/OutboxStatus.hpp"

#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Resources.hpp"

namespace SYC {

OV::UniString ToText(const OutboxStatus& status)
{
    constexpr int firstItem = 3;
    const auto text =
        OV::GetStringListItem(TextLists::MailTexts, firstItem + static_cast<int>(status.reason));
    return status.failure ? text + u' ' + status.failure.sentence : text;
}

}  // namespace SYC
