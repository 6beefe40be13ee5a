#include "Dlg/Panel.hpp"

#include "Dlg/Item.hpp"

#include <utility>

namespace Dlg {

Panel::Panel(const DialogDescription& description) : description_(description) {}

Panel::~Panel() = default;

DialogWindow& Panel::Window()
{
    if (!window_)
        window_ = Toolkit::Current().MakeWindow(description_, *this);
    return *window_;
}

void Panel::Notify(const std::function<void(PanelObserver&)>& tell)
{
    observers_.Notify([&](PanelObserver& observer) { Guarded([&] { tell(observer); }); });
}

void Panel::Guarded(const std::function<void()>& handler) noexcept
{
    try {
        handler();
    } catch (...) {
        if (!failure_)
            failure_ = std::current_exception();
        if (window_)
            window_->EndModal();
    }
}

void Panel::ThrowFailure()
{
    if (failure_)
        std::rethrow_exception(std::exchange(failure_, nullptr));
}

void Panel::_ItemUsed(int item) noexcept
{
    Guarded([&] {
        if (const auto found = items_.find(item); found != items_.end() && HearsItems())
            found->second->Used();
    });
}

void Panel::_HeaderUsed(int listBox, int column) noexcept
{
    Guarded([&] {
        if (const auto found = items_.find(listBox); found != items_.end() && HearsItems())
            found->second->HeaderUsed(column);
    });
}

void Panel::_Idle() noexcept
{
    Guarded([this] { Notify([this](PanelObserver& observer) { observer._PanelIdle(*this); }); });
}

void Panel::_LeaveRequested() noexcept
{
    Guarded([this] { LeaveRequested(); });
}

void Panel::_Resized() noexcept
{
    Guarded([this] { Notify([this](PanelObserver& observer) { observer._PanelResized(*this); }); });
}

}  // namespace Dlg
