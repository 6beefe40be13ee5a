#pragma once

#include "OVRoot/Export.hpp"
namespace Dlg {

class DateItem;

/// Hears of a date item; on the main thread.
class SYC_API DateItemObserver {
public:
    virtual ~DateItemObserver() = default;
    /// The user changed the date.
    virtual void _DateChanged(DateItem& date) = 0;
};

}  // namespace Dlg
