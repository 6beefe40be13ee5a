#include "Dlg/Item.hpp"

#include "OVRoot/Exception.hpp"

#include <algorithm>
#include <string>

namespace Dlg {

Item::Item(Panel& panel, int number, std::initializer_list<ItemType> types)
    : panel_(panel), number_(number)
{
    const ItemType type = panel.description_.GetItem(number).type;
    if (std::find(types.begin(), types.end(), type) == types.end())
        throw OV::IllegalArgumentException("Item " + std::to_string(number) + " of dialog " +
                                           std::to_string(panel.description_.number) +
                                           " is of another type.");
    if (!panel.items_.emplace(number, this).second)
        throw OV::IllegalArgumentException("Item " + std::to_string(number) + " is taken already.");
}

Item::~Item()
{
    panel_.items_.erase(number_);
}

}  // namespace Dlg
