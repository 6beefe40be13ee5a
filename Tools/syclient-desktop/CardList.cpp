#include "CardList.hpp"

#include "CardDelegate.hpp"

#include <QKeyEvent>

CardList::CardList(const QString& objectName, const QString& name, QWidget* parent)
    : QListView(parent)
{
    setObjectName(objectName);
    setAccessibleName(name);
    auto* delegate = new CardDelegate(this);
    setItemDelegate(delegate);
    setMouseTracking(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabKeyNavigation(false);
    connect(delegate, &CardDelegate::ActionPressed, this, &CardList::Chosen);
    connect(this, &QListView::doubleClicked, this, [this](const QModelIndex& index) {
        // The second click of a button's own double click is none.
        if (index.data(CardRole).value<Card>().action.isEmpty())
            emit Chosen(index);
    });
}

void CardList::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QListView::currentChanged(current, previous);
    emit CurrentChanged(current);
}

void CardList::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        event->modifiers() == Qt::NoModifier && currentIndex().isValid()) {
        emit Chosen(currentIndex());
        return;
    }
    QListView::keyPressEvent(event);
}
