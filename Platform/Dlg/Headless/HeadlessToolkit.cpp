#include "Dlg/Headless/HeadlessToolkit.hpp"

#include "OVRoot/Exception.hpp"

#include <algorithm>
#include <string>

namespace Dlg {

namespace {

/// The first of a queue, which it leaves; nothing when there is none.
template <class Value>
std::optional<Value> TakeFirst(std::deque<Value>& queue)
{
    if (queue.empty())
        return std::nullopt;
    std::optional<Value> first = std::move(queue.front());
    queue.pop_front();
    return first;
}

}  // namespace

HeadlessToolkit::HeadlessToolkit()
    : formerToolkit_(Toolkit::SetCurrent(this)),
      formerPresenter_(OV::AlertPresenter::SetCurrent(this))
{}

HeadlessToolkit::~HeadlessToolkit()
{
    OV::AlertPresenter::SetCurrent(formerPresenter_);
    Toolkit::SetCurrent(formerToolkit_);
}

void HeadlessToolkit::AddAnswer(int number, int button)
{
    const OV::LockGuard guard(alertLock_);
    answers_[number].push_back(button);
}

OV::Array<OV::UniString> HeadlessToolkit::GetTextsShown(int dialog, int item) const
{
    const auto found = texts_.find({dialog, item});
    return found == texts_.end() ? OV::Array<OV::UniString>() : found->second;
}

OV::Array<OV::AlertResource> HeadlessToolkit::GetAlertsShown() const
{
    const OV::LockGuard guard(alertLock_);
    return alerts_;
}

std::unique_ptr<DialogWindow> HeadlessToolkit::MakeWindow(const DialogDescription& description,
                                                          WindowEvents& events)
{
    return std::make_unique<HeadlessDialog>(*this, description, events);
}

std::optional<IO::Location> HeadlessToolkit::AskSaveFile(const OV::UniString&, const OV::UniString&)
{
    return TakeFirst(saveFiles_).value_or(std::nullopt);
}

int HeadlessToolkit::Show(const OV::AlertResource& alert)
{
    const OV::LockGuard guard(alertLock_);
    alerts_.push_back(alert);
    const int last = static_cast<int>(std::max<std::size_t>(alert.buttons.size(), 1));
    return TakeFirst(answers_[alert.number]).value_or(last);
}

HeadlessToolkit::Script HeadlessToolkit::TakeScript(int number)
{
    opened_.push_back(number);
    if (auto script = TakeFirst(scripts_[number]))
        return *std::move(script);
    throw OV::IllegalReferenceException("Dialog " + std::to_string(number) +
                                        " was opened, and no script expects it.");
}

void HeadlessToolkit::RecordText(int dialog, int item, const OV::UniString& text)
{
    texts_[{dialog, item}].push_back(text);
}

}  // namespace Dlg
