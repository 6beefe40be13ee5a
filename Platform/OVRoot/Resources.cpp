#include "OVRoot/Resources.hpp"

#include "OVRoot/Exception.hpp"
#include "OVRoot/Logger.hpp"

#include <pugixml.hpp>

#include <algorithm>
#include <atomic>
#include <unordered_map>

namespace OV {

namespace Embedded {
std::string_view StringLists();
std::string_view Alerts();
std::string_view Picture(int number);
}  // namespace Embedded

namespace {

/// "\r" and "\n" as two characters stand for a carriage return and a line feed.
UniString TextOf(const char* source)
{
    String text = source;
    for (const auto& [escape, character] : {std::pair{"\\r", '\r'}, std::pair{"\\n", '\n'}})
        for (auto at = text.find(escape); at != String::npos; at = text.find(escape, at))
            text.replace(at, 2, 1, character);
    return FromUtf8(text);
}

pugi::xml_document Parse(std::string_view text)
{
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size(),
                              pugi::parse_default | pugi::parse_ws_pcdata_single))
        throw Exception(StringView("The resources of the library are damaged."));
    return document;
}

std::unordered_map<int, std::vector<UniString>> ReadStringLists()
{
    std::unordered_map<int, std::vector<UniString>> lists;
    const auto document = Parse(Embedded::StringLists());
    for (const auto list : document.child("StringLists").children("StringList"))
        for (const auto item : list.children("Item"))
            lists[list.attribute("number").as_int()].push_back(TextOf(item.child_value()));
    return lists;
}

std::unordered_map<int, AlertResource> ReadAlerts()
{
    std::unordered_map<int, AlertResource> alerts;
    const auto document = Parse(Embedded::Alerts());
    for (const auto node : document.child("Alerts").children("Alert")) {
        AlertResource alert;
        alert.number = node.attribute("number").as_int();
        alert.title = TextOf(node.child_value("Title"));
        alert.message = TextOf(node.child_value("Message"));
        alert.detail = TextOf(node.child_value("Detail"));
        for (const auto button : node.children("Button"))
            alert.buttons.push_back(TextOf(button.child_value()));
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
    static const auto lists = ReadStringLists();
    const auto found = lists.find(list);
    if (found == lists.end() || index < 1 || static_cast<std::size_t>(index) > found->second.size())
        throw IllegalReferenceException("There is no item " + std::to_string(index) +
                                        " in string list " + std::to_string(list) + ".");
    return found->second[static_cast<std::size_t>(index) - 1];
}

const AlertResource& GetAlertResource(int number)
{
    static const auto alerts = ReadAlerts();
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
    AlertPresenter* presenter = currentPresenter;
    return presenter != nullptr ? presenter->Show(alert) : ShowInLog(alert);
}

}  // namespace OV
