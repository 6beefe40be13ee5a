#pragma once

#include "MailPage.hpp"
#include "MembersPane.hpp"

#include <QWidget>

#include <array>

class QLabel;
class QStackedWidget;
class QToolButton;
class QPushButton;
class QSplitter;

/// The open project: its pages, its members, and how it stands with the server.
class ProjectPage final : public QWidget {
    Q_OBJECT
public:
    enum Page {
        MailPageNumber,
        ActivityPageNumber,
        StatisticsPageNumber,
        SettingsPageNumber,
        PageCount
    };

    /// The session outlives the page, and `home` both.
    ProjectPage(ProjectSession& session, OV::Executor& home, QWidget* parent);
    ~ProjectPage() override;

    void ShowPage(int page);
    [[nodiscard]] int CurrentPage() const;
    [[nodiscard]] MailPage& Mails() noexcept { return *mails_; }
    void ToggleOffline();
    /// In the line at the bottom, for a while.
    void ShowMessage(const QString& text);
    /// Between members and pages, and between the parts of the mail page.
    [[nodiscard]] QByteArray SaveSizes() const;
    void RestoreSizes(const QByteArray& sizes);

signals:
    void LeaveWanted();

private:
    QWidget* MakeHeader();
    QWidget* MakeNavigation();
    QWidget* MakeFooter();
    QWidget* MakePage(int page);
    void ShowState();
    void ShowNews();
    void ShowCounts();
    void ShowOutbox();

    ProjectSession& session_;
    QLabel *title_, *subtitle_, *dot_, *state_, *outbox_, *news_, *counts_;
    QPushButton *offline_, *write_;
    QStackedWidget* pages_;
    QToolButton* buttons_[PageCount];
    MailPage* mails_;
    MembersPane* members_;
    QSplitter* splitter_;
    QTimer message_;
    bool isWaiting_ = false;  ///< something was in the outbox when it was shown last
    std::array<bool, PageCount> isMade_{true};
};
