#pragma once

#include "Card.hpp"

#include <QStyledItemDelegate>

/// Draws cards in the colours and the font of the system.
class CardDelegate final : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    /// A face in a circle, for places outside of lists; `side` in pixels of the device.
    [[nodiscard]] static QPixmap MakeFace(const Card& card, int side, const QPalette& palette,
                                          qreal ratio);

signals:
    /// The button of a row was pressed.
    void ActionPressed(const QModelIndex& index);
};
