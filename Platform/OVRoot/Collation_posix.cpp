#include "OVRoot/Collation.hpp"

#include <clocale>
#include <cstring>
#include <locale.h>

namespace OV {

namespace {

// The order is one of characters, so their coding belongs to it.
constexpr int Categories = LC_COLLATE_MASK | LC_CTYPE_MASK;

}  // namespace

Collation::Collation(const String& locale)
    : locale_(newlocale(Categories, locale.c_str(), locale_t{}))
{}

Collation::~Collation()
{
    if (locale_ != nullptr)
        freelocale(static_cast<locale_t>(locale_));
}

int Collation::Compare(const String& left, const String& right) const noexcept
{
    return locale_ == nullptr
               ? left.compare(right)
               : strcoll_l(left.c_str(), right.c_str(), static_cast<locale_t>(locale_));
}

String Collation::KeyOf(const String& text) const
{
    if (locale_ == nullptr)
        return text;
    String key(text.size() * 4 + 16, '\0');
    const auto transform = [&] {
        return strxfrm_l(key.data(), text.c_str(), key.size() + 1, static_cast<locale_t>(locale_));
    };
    const auto size = transform();
    const bool isCut = size > key.size();
    key.resize(size);
    if (isCut)
        (void)transform();
    return key;
}

const Collation& Collation::OfUser()
{
    // Never destroyed: lines may be sorted until the process ends.
    static const auto& user = *new Collation;
    return user;
}

}  // namespace OV
