#include "Messaging/Detail/RecipientList.hpp"

#include <algorithm>

namespace SYC {

OV::UniString JoinRecipients(const ClientMail::NameList& names)
{
    OV::UniString text;
    for (const auto& name : names) {
        text += name;
        text += u',';
    }
    return text;
}

ClientMail::NameList SplitRecipients(OV::UniStringView text)
{
    ClientMail::NameList names;
    names.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), u',')));
    for (std::size_t comma; (comma = text.find(u',')) != text.npos; text.remove_prefix(comma + 1))
        names.emplace_back(text.substr(0, comma));
    return names;
}

}  // namespace SYC
