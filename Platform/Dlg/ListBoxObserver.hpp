#pragma once

namespace Dlg {

class ListBox;

class ListBoxObserver {
public:
    virtual ~ListBoxObserver() = default;
    /// The user selected a row.
    virtual void _RowSelected(ListBox& listBox) = 0;
};

}  // namespace Dlg
