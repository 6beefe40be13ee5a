#pragma once

#include "OVRoot/UniString.hpp"

#include <cstdint>

namespace Dlg {

/// What an item can do.
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

/// The sign that an alert shows.
enum class Picture { None, Information, Question, Warning };

/// A place in a dialog, from its upper left corner, in units of which a line of the user's font is
/// 16 high: a toolkit scales them, so that texts fit in any font size.
struct Rectangle {
    /// In those units.
    /// @{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    /// @}
};

/// What becomes of an item when the user changes the size of its dialog.
struct ResizeBehaviour {
    /// Whether it keeps its distance from the right (X) or lower (Y) side of the dialog.
    /// @{
    bool moveX = false;
    bool moveY = false;
    /// @}
    /// Whether it becomes as much wider (X) or higher (Y) as the dialog does.
    /// @{
    bool growX = false;
    bool growY = false;
    /// @}
};

/// One item of a dialog, as the resources describe it.
struct ItemDescription {
    int number = 0;                   ///< by which the program finds it, from 1
    ItemType type = ItemType::Text;   ///< what it can do
    OV::UniString label;              ///< of one that shows no text, its name for a screen reader
    Rectangle place;                  ///< where it stands before the user changes the size
    ResizeBehaviour resize;           ///< and when he does
    Picture picture = Picture::None;  ///< for an icon alone
    bool isDefault = false;           ///< the button that Return presses
};

}  // namespace Dlg
