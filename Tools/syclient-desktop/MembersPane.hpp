#pragma once

#include "CardList.hpp"
#include "ProjectSession.hpp"

#include <QStandardItemModel>
#include <QWidget>

/// Who belongs to the open project: who works in it, who is present, who is away.
class MembersPane final : public QWidget {
    Q_OBJECT
public:
    /// The session outlives the pane.
    MembersPane(ProjectSession& session, QWidget* parent);

signals:
    void WriteWanted(const OV::UniString& login);
    void RequestWanted(const OV::UniString& login);

private:
    void Show();
    void ShowMenu(const QPoint& place);
    [[nodiscard]] OV::UniString LoginOf(const QModelIndex& index) const;

    ProjectSession& session_;
    CardList* list_;
    QStandardItemModel model_;
    bool wasOnline_ = false;
};
