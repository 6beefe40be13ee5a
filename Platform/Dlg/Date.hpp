#pragma once

#include <compare>

namespace Dlg {

/// A day of the Gregorian calendar.
struct Date {
    int year = 1970;  ///< of the Gregorian calendar
    int month = 1;    ///< from 1
    int day = 1;      ///< from 1

    friend auto operator<=>(const Date&, const Date&) = default;
};

}  // namespace Dlg
