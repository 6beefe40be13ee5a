#pragma once

#include "Dlg/DialogDescription.hpp"
#include "Dlg/DialogWindow.hpp"
#include "Dlg/WindowEvents.hpp"

#include <QDialog>
#include <QEventLoop>
#include <QTimer>

#include <map>

namespace Dlg::Detail {

/// A dialog as a Qt window. Texts that need more lines than their place has push down what is below
/// them, and the window grows with them.
class QtDialogWindow final : public QDialog, public DialogWindow {
public:
    QtDialogWindow(const DialogDescription& description, WindowEvents& events);
    ~QtDialogWindow() override;

    void SetTitle(const OV::UniString& title) override;
    void SetEnabled(int item, bool enabled) override;
    void SetText(int item, const OV::UniString& text) override;
    [[nodiscard]] OV::UniString GetText(int item) const override;
    void ClearEntries(int popUp) override;
    void AppendEntry(int popUp, const OV::UniString& text) override;
    void AppendSeparator(int popUp) override;
    void SetColumns(int listBox, const OV::Array<ListColumn>& columns) override;
    void SetRows(int listBox, std::shared_ptr<const ListRows> rows) override;
    void SetSortMark(int listBox, int column, bool ascending) override;
    void SetProgress(int item, std::uint64_t done, std::uint64_t total) override;
    void HideProgress(int item) override;
    void SetSelection(int item, int number) override;
    [[nodiscard]] int GetSelection(int item) const override;
    void SetDate(int item, Date date) override;
    [[nodiscard]] Date GetDate(int item) const override;
    void EnableIdleEvents() override { idleTimer_.start(); }
    void RunModal() override;
    void EndModal() noexcept override;

    /// Escape and the close box come here; the panel decides.
    void reject() override { events_._LeaveRequested(); }

private:
    struct Place {
        QRect rectangle;  ///< while the window has the size of its description and texts
        ResizeBehaviour resize;
        QWidget* widget = nullptr;
        OV::UniString text;  ///< of a label, which shows it with break points
    };

    void AddItem(const ItemDescription& item);
    void Connect(const ItemDescription& item, QWidget& widget);
    void FitText(Place& place);
    void PlaceItems();
    void ApplySize();
    void FocusFirst();
    void resizeEvent(QResizeEvent* event) override;

    template <class Widget>
    [[nodiscard]] Widget* As(int item) const
    {
        return qobject_cast<Widget*>(places_.at(item).widget);
    }

    const DialogDescription& description_;
    WindowEvents& events_;
    double unit_;
    QSize ownSize_;
    std::map<int, Place> places_;
    QTimer idleTimer_;
    QEventLoop loop_;
    bool isRunning_ = false;
    bool isSetting_ = false;  ///< what changes now was not changed by the user
};

}  // namespace Dlg::Detail
