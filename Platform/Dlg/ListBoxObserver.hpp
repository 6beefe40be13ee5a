#pragma once

#include "OVRoot/Export.hpp"
namespace Dlg {

class ListBox;

/// Hears of a list box; on the main thread.
class SYC_API ListBoxObserver {
public:
    virtual ~ListBoxObserver() = default;
    /// The user selected a row.
    virtual void _RowSelected(ListBox& listBox) = 0;
    /// The user pressed the title of a column, counted from 1: he wants it sorted by that.
    virtual void _HeaderPressed(ListBox& /*listBox*/, int /*column*/) {}
};

}  // namespace Dlg
