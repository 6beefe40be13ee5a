#pragma once

#include "Card.hpp"

#include <QListView>

/// A list of cards: the mouse, the keyboard and a screen reader all reach every row's button.
class CardList final : public QListView {
    Q_OBJECT
public:
    /// `name` is what a screen reader calls it, and the name of the object.
    CardList(const QString& objectName, const QString& name, QWidget* parent);

signals:
    /// Return, a double click or the button of the row.
    void Chosen(const QModelIndex& index);
    /// The current row became another one; the index may be invalid.
    void CurrentChanged(const QModelIndex& index);

protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void keyPressEvent(QKeyEvent* event) override;
};
