#pragma once

#include "OVRoot/UniString.hpp"

#include <cstdint>

namespace Dlg {

enum class ItemType {
    Text,
    Edit,
    Password,
    Button,
    PopUp,
    ListBox,
    Date,
    Icon,
    Separator,
    Progress
};

enum class Picture { None, Information, Question, Warning };

/// A place in a dialog, from its upper left corner, in units of which a line of the user's font is
/// 16 high: a toolkit scales them, so that texts fit in any font size.
struct Rectangle {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// What becomes of an item when the user changes the size of its dialog.
struct ResizeBehaviour {
    bool moveX = false;
    bool moveY = false;
    bool growX = false;
    bool growY = false;
};

/// One item of a dialog, as the resources describe it.
struct ItemDescription {
    int number = 0;
    ItemType type = ItemType::Text;
    OV::UniString label;  ///< of one that shows no text, its name for a screen reader
    Rectangle place;
    ResizeBehaviour resize;
    Picture picture = Picture::None;
    bool isDefault = false;  ///< the button that Return presses
};

}  // namespace Dlg
