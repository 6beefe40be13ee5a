#pragma once

#include "Dlg/PanelObserver.hpp"
#include "Dlg/Toolkit.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"

#include <exception>
#include <functional>

namespace Dlg {

class Item;

/// A dialog's window, its items and its observers. The window is made when it is first needed, so
/// that a dialog which is prepared and never opened costs little. For the main thread.
class SYC_API Panel : private WindowEvents {
public:
    /// Dialog `number` of the resources. The window is the work of the toolkit that is current when
    /// it is needed; without one, needing it throws OV::IllegalReferenceException.
    explicit Panel(int number) : Panel(GetDialogDescription(number)) {}
    /// The same for a dialog that is not of the resources; `description` outlives the panel.
    explicit Panel(const DialogDescription& description);
    ~Panel() override;
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    /// The observer is not owned; it detaches before it is destroyed, or outlives the panel.
    /// @{
    void Attach(PanelObserver& observer) { observers_.Attach(observer); }
    void Detach(PanelObserver& observer) { observers_.Detach(observer); }
    /// @}
    /// The title of the window.
    void SetTitle(const OV::UniString& title) { Window().SetTitle(title); }
    /// From now on _PanelIdle is told while the window runs.
    void EnableIdleEvents() { Window().EnableIdleEvents(); }

protected:
    /// What one of them throws is kept as Guarded keeps it, and the others are told.
    void Notify(const std::function<void(PanelObserver&)>& tell);
    /// Made when it is first needed. Throws as the constructor says.
    [[nodiscard]] DialogWindow& Window();
    /// Runs `handler`; an exception is kept for ThrowFailure, and ends the window.
    void Guarded(const std::function<void()>& handler) noexcept;
    /// Whether an exception is kept.
    [[nodiscard]] bool HasFailed() const noexcept { return failure_ != nullptr; }
    /// Throws what a handler threw, once.
    void ThrowFailure();
    /// Escape or the close box.
    virtual void LeaveRequested() = 0;
    /// Whether the uses of items are told.
    [[nodiscard]] virtual bool HearsItems() const noexcept { return true; }

private:
    friend class Item;

    void _ItemUsed(int item) noexcept override;
    void _HeaderUsed(int listBox, int column) noexcept override;
    void _Idle() noexcept override;
    void _LeaveRequested() noexcept override;
    void _Resized() noexcept override;

    const DialogDescription& description_;
    OV::HashTable<int, Item*> items_;
    OV::EventSource<PanelObserver> observers_{OV::ObserversOutlive()};
    std::exception_ptr failure_;
    std::unique_ptr<DialogWindow> window_;
};

}  // namespace Dlg
