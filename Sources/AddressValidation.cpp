#include "AddressValidation.hpp"

#include "OVRoot/Ascii.hpp"

#include <algorithm>

namespace SYC {

namespace {

constexpr std::size_t ShortestAddress = 5;
constexpr OV::UniStringView SpecialCharacters = u"()<>@,;:\\\"[]";

constexpr bool IsHostCharacter(char c)
{
    return OV::IsLetter(c) || OV::IsDigit(c) || c == '-' || c == '.';
}

bool HasSpecial(OV::UniStringView part)
{
    return part.find_first_of(SpecialCharacters) != part.npos;
}

bool IsPrintableAscii(OV::UniStringView text)
{
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c >= 33 && c <= 126; });
}

bool HasDotsInsideOnly(OV::UniStringView domain)
{
    return domain.find(u'.') != domain.npos && domain.front() != u'.' && domain.back() != u'.';
}

bool EndsInTopLevel(OV::UniStringView domain)
{
    const OV::UniStringView top = domain.substr(domain.rfind(u'.') + 1);
    return top.size() >= 2 && OV::IsLetter(top[top.size() - 1]) &&
           OV::IsLetter(top[top.size() - 2]);
}

}  // namespace

bool IsValidHostName(const OV::String& name)
{
    return std::all_of(name.begin(), name.end(), IsHostCharacter);
}

bool IsValidEmailAddress(const OV::UniString& address)
{
    if (address.size() < ShortestAddress)
        return false;
    const std::size_t at = address.find(u'@');
    if (at == address.npos || at == 0)
        return false;
    const OV::UniStringView local = OV::UniStringView(address).substr(0, at);
    const OV::UniStringView domain = OV::UniStringView(address).substr(at + 1);
    // The at sign is a special character itself, so a second one fails here.
    if (HasSpecial(local) || HasSpecial(domain) || domain.empty() || !HasDotsInsideOnly(domain))
        return false;
    return IsPrintableAscii(address) && domain.find(u"..") == domain.npos && EndsInTopLevel(domain);
}

}  // namespace SYC
