#include "OVRoot/Resources.hpp"

#include "OVRoot/Detail/ResourceDocument.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <atomic>
#include <map>
#include <unordered_map>

namespace OV {

namespace Embedded {
std::string_view StringLists();
std::string_view Alerts();
std::string_view Picture(int number);
}  // namespace Embedded

namespace {

using Detail::ParseResource;
using Detail::ResourceText;

/// By list and index. An item without an index of its own follows the one before it, so that a list
/// may leave out items that nobody uses.
std::map<std::pair<int, int>, UniString> ReadStringLists()
{
    std::map<std::pair<int, int>, UniString> items;
    const auto document = ParseResource(Embedded::StringLists());
    for (const auto list : document.child("StringLists").children("StringList")) {
        const int number = list.attribute("number").as_int();
        int index = 0;
        for (const auto item : list.children("Item")) {
            index = item.attribute("index").as_int(index + 1);
            items.emplace(std::pair(number, index), ResourceText(item.child_value()));
        }
    }
    return items;
}

std::unordered_map<int, AlertResource> ReadAlerts()
{
    std::unordered_map<int, AlertResource> alerts;
    const auto document = ParseResource(Embedded::Alerts());
    for (const auto node : document.child("Alerts").children("Alert")) {
        AlertResource alert;
        alert.number = node.attribute("number").as_int();
        alert.title = ResourceText(node.child_value("Title"));
        alert.message = ResourceText(node.child_value("Message"));
        alert.detail = ResourceText(node.child_value("Detail"));
        for (const auto button : node.children("Button"))
            alert.buttons.push_back(ResourceText(button.child_value()));
        alerts.emplace(alert.number, std::move(alert));
    }
    return alerts;
}

std::atomic<AlertPresenter*> currentPresenter{nullptr};

int ShowInLog(const AlertResource& alert)
{
    Logger::Warning("Alert", u"%: % %", {alert.title, alert.message, alert.detail});
    return static_cast<int>(std::max<std::size_t>(alert.buttons.size(), 1));
}

}  // namespace

const UniString& GetStringListItem(int list, int index)
{
    static const auto& items = *new auto(ReadStringLists());
    const auto found = items.find(std::pair(list, index));
    if (found == items.end())
        throw IllegalReferenceException("There is no item " + std::to_string(index) +
                                        " in string list " + std::to_string(list) + ".");
    return found->second;
}

const AlertResource& GetAlertResource(int number)
{
    static const auto& alerts = *new auto(ReadAlerts());
    const auto found = alerts.find(number);
    if (found == alerts.end())
        throw IllegalReferenceException("There is no alert " + std::to_string(number) + ".");
    return found->second;
}

StringView GetPictureResource(int number)
{
    const StringView picture = Embedded::Picture(number);
    if (picture.empty())
        throw IllegalReferenceException("There is no picture " + std::to_string(number) + ".");
    return picture;
}

AlertPresenter* AlertPresenter::SetCurrent(AlertPresenter* presenter)
{
    return currentPresenter.exchange(presenter);
}

int ShowAlert(int number, std::initializer_list<FormatArgument> arguments)
{
    AlertResource alert = GetAlertResource(number);
    alert.message = FormatText(alert.message, arguments);
    alert.detail = FormatText(alert.detail, arguments);
    return ShowAlert(alert);
}

int ShowAlert(const AlertResource& alert)
{
    AssertNoLockHeld("AlertPresenter::Show");
    AlertPresenter* presenter = currentPresenter;
    return presenter != nullptr ? presenter->Show(alert) : ShowInLog(alert);
}

}  // namespace OV
