#pragma once

#include "CardList.hpp"
#include "FlowWatch.hpp"
#include "ManageMembers.hpp"
#include "ProjectSession.hpp"

#include <QStandardItemModel>
#include <QWidget>

class QMenu;

/// Who belongs to the open project: who works in it, who is present, who is away. For who may, the
/// menu of a member changes his role, ends his session and takes him out.
class MembersPane final : public QWidget {
    Q_OBJECT
public:
    /// Session and `home` outlive the pane.
    MembersPane(ProjectSession& session, OV::Executor& home, QWidget* parent);
    ~MembersPane() override;

signals:
    void WriteWanted(const OV::UniString& login);
    void RequestWanted(const OV::UniString& login);
    /// What became of a change.
    void Said(const QString& text);

private:
    void Show();
    void ShowMenu(const QPoint& place);
    [[nodiscard]] bool MayManage() const;
    void AddManaging(QMenu& menu, const SYC::UserData& member, const OV::UniString& role);
    void EndSession(const SYC::UserData& member);
    void TakeOut(const SYC::UserData& member);
    [[nodiscard]] bool Agrees(const QString& question, const QString& consequence,
                              const QString& yes);
    void AskForRights();
    void ManageChanged();
    [[nodiscard]] OV::UniString LoginOf(const QModelIndex& index) const;

    ProjectSession& session_;
    CardList* list_;
    QStandardItemModel model_;
    bool wasOnline_ = false;
    OV::PooledExecutor worker_{0, 1, 0};
    SYC::ManageMembers manage_;
    /// What is said when the change under way is made; empty for none.
    QString success_;
    // Last, so that nobody is told once the rest goes.
    FlowWatch manageWatch_;
};
