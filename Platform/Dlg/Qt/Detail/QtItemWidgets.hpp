#pragma once

#include "Dlg/ItemDescription.hpp"

#include <QWidget>

namespace Dlg::Detail {

/// The widget of an item, a child of `parent`, named "item" and its number. `unit` is the length of
/// the descriptions in pixels.
[[nodiscard]] QWidget* MakeItemWidget(const ItemDescription& item, QWidget& parent, double unit);

/// What a label shows of a text: long words may be broken, since names come without blanks.
[[nodiscard]] QString Breakable(const QString& text);

}  // namespace Dlg::Detail
