#pragma once

#include "ComposeWindow.hpp"
#include "MailRows.hpp"

#include <QWidget>

class CardList;
class MailReader;
class QComboBox;
class QLabel;
class QLineEdit;
class QSplitter;
class QTabBar;

/// The mails of the open project: views, search, list and the mail that is read.
class MailPage final : public QWidget {
    Q_OBJECT
public:
    /// The session outlives the page, and `home` both.
    MailPage(ProjectSession& session, OV::Executor& home, QWidget* parent);

    /// Opens the window for writing.
    void Write(ComposeWindow::Task task);
    void Reply();
    void Forward();
    void Give(bool withNote);
    void Deny();
    void Delete();
    void FocusSearch();
    /// Requests that wait for the user, and unread mails.
    [[nodiscard]] int CountWaiting() const;
    [[nodiscard]] int CountUnread() const;
    [[nodiscard]] QSplitter& Splitter() noexcept { return *splitter_; }
    /// False when something that is being written is to be kept open.
    [[nodiscard]] bool MayClose();

signals:
    void CountsChanged();
    /// For the line at the bottom of the window.
    void Said(const QString& text);

private:
    void ShowCounts();
    void ShowEmpty();
    void ShowSelected();
    /// Selects the mail again that was selected before the rows became others.
    void Reselect();
    void Answer(SYC::MailAnswer answer, bool withNote);
    [[nodiscard]] OV::Ref<SYC::ClientMail> Selected() const;

    ProjectSession& session_;
    MailRows rows_;
    OV::UniString selectedId_;
    QTabBar* views_;
    QLineEdit* search_;
    QComboBox* order_;
    CardList* list_;
    QLabel* empty_;
    MailReader* reader_;
    QSplitter* splitter_;
};
