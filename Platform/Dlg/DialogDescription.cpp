#include "Dlg/DialogDescription.hpp"

#include "OVRoot/Containers.hpp"
#include "OVRoot/Detail/ResourceDocument.hpp"
#include "OVRoot/Exception.hpp"

#include <algorithm>
#include <string>

namespace OV::Embedded {
std::string_view Dialogs();
}  // namespace OV::Embedded

namespace Dlg {

namespace {

template <class Value>
using Words = std::initializer_list<std::pair<const char*, Value>>;

template <class Value>
Value FromWord(const OV::String& word, const Words<Value>& words)
{
    for (const auto& [name, value] : words)
        if (word == name)
            return value;
    throw OV::IllegalArgumentException("The dialog resources have an unknown word: " + word);
}

ItemType ReadType(const OV::String& word)
{
    return FromWord<ItemType>(word, {{"text", ItemType::Text},
                                     {"edit", ItemType::Edit},
                                     {"password", ItemType::Password},
                                     {"button", ItemType::Button},
                                     {"popup", ItemType::PopUp},
                                     {"list", ItemType::ListBox},
                                     {"date", ItemType::Date},
                                     {"icon", ItemType::Icon},
                                     {"separator", ItemType::Separator},
                                     {"progress", ItemType::Progress}});
}

Picture ReadPicture(const OV::String& word)
{
    return FromWord<Picture>(word, {{"", Picture::None},
                                    {"information", Picture::Information},
                                    {"question", Picture::Question},
                                    {"warning", Picture::Warning}});
}

OV::UniString ReadLabel(const char* source)
{
    OV::UniString label = OV::Detail::ResourceText(source);
    for (auto at = label.find(u"&&"); at != OV::UniString::npos; at = label.find(u"&&", at + 1))
        label.erase(at, 1);
    return label;
}

bool Has(const pugi::xml_attribute& attribute, char letter)
{
    return OV::StringView(attribute.as_string()).find(letter) != OV::StringView::npos;
}

ItemDescription ReadItem(const pugi::xml_node& node)
{
    ItemDescription item;
    item.number = node.attribute("number").as_int();
    item.type = ReadType(node.attribute("type").as_string());
    item.label = ReadLabel(node.child_value());
    item.place = {node.attribute("x").as_int(), node.attribute("y").as_int(),
                  node.attribute("width").as_int(), node.attribute("height").as_int()};
    const auto move = node.attribute("move");
    const auto grow = node.attribute("grow");
    item.resize = {Has(move, 'x'), Has(move, 'y'), Has(grow, 'x'), Has(grow, 'y')};
    item.picture = ReadPicture(node.attribute("picture").as_string());
    item.isDefault = OV::StringView(node.attribute("role").as_string()) == "default";
    return item;
}

OV::HashTable<int, DialogDescription> ReadDialogs()
{
    OV::HashTable<int, DialogDescription> dialogs;
    const auto document = OV::Detail::ParseResource(OV::Embedded::Dialogs());
    for (const auto node : document.child("Dialogs").children("Dialog")) {
        DialogDescription dialog;
        dialog.number = node.attribute("number").as_int();
        dialog.title = OV::Detail::ResourceText(node.child_value("Title"));
        dialog.width = node.attribute("width").as_int();
        dialog.height = node.attribute("height").as_int();
        for (const auto item : node.children("Item"))
            dialog.items.push_back(ReadItem(item));
        dialogs.emplace(dialog.number, std::move(dialog));
    }
    return dialogs;
}

const OV::HashTable<int, DialogDescription>& AllDialogs()
{
    static const auto& dialogs = *new auto(ReadDialogs());
    return dialogs;
}

}  // namespace

const ItemDescription& DialogDescription::GetItem(int item) const
{
    const auto found = std::find_if(items.begin(), items.end(),
                                    [item](const auto& each) { return each.number == item; });
    if (found == items.end())
        throw OV::IllegalReferenceException("There is no item " + std::to_string(item) +
                                            " in dialog " + std::to_string(number) + ".");
    return *found;
}

bool DialogDescription::IsResizable() const
{
    return std::any_of(items.begin(), items.end(), [](const ItemDescription& item) {
        return item.resize.moveX || item.resize.moveY || item.resize.growX || item.resize.growY;
    });
}

const DialogDescription& GetDialogDescription(int number)
{
    const auto found = AllDialogs().find(number);
    if (found == AllDialogs().end())
        throw OV::IllegalReferenceException("There is no dialog " + std::to_string(number) + ".");
    return found->second;
}

OV::Array<int> GetDialogNumbers()
{
    OV::Array<int> numbers;
    for (const auto& [number, dialog] : AllDialogs())
        numbers.push_back(number);
    return numbers;
}

}  // namespace Dlg
