#pragma once

#include "OVRoot/UniString.hpp"

#include <QString>

namespace Dlg::Detail {

/// For a widget that shows what it gets; the texts of the resources end lines as Windows does.
[[nodiscard]] inline QString ToQt(OV::UniStringView text)
{
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()))
        .replace(QLatin1String("\r\n"), QLatin1String("\n"));
}

/// For a button, which takes "&" for the mark of a mnemonic.
[[nodiscard]] inline QString ToQtLabel(OV::UniStringView text)
{
    return ToQt(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}

[[nodiscard]] inline OV::UniString FromQt(const QString& text)
{
    return text.toStdU16String();
}

}  // namespace Dlg::Detail
