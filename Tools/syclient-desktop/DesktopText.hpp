#pragma once

#include "OVRoot/UniString.hpp"

#include <QString>

/// The library's texts and Qt's are both UTF-16.
[[nodiscard]] inline QString ToQt(OV::UniStringView text)
{
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}
[[nodiscard]] inline OV::UniString FromQt(const QString& text)
{
    return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}
