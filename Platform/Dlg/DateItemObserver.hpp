#pragma once

namespace Dlg {

class DateItem;

class DateItemObserver {
public:
    virtual ~DateItemObserver() = default;
    /// The user changed the date.
    virtual void _DateChanged(DateItem& date) = 0;
};

}  // namespace Dlg
