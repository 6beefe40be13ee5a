#pragma once

#include "Messaging/MailAnswer.hpp"
#include "Messaging/MemberCompletion.hpp"
#include "ProjectSession.hpp"

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

/// A mail that is being written: a new one, an answer or a mail that is passed on. What was typed
/// is kept on the disk until it is sent or thrown away.
class ComposeWindow final : public QDialog {
    Q_OBJECT
public:
    struct Task {
        /// Of a new mail.
        SYC::MailType type = SYC::MailType::Normal;
        OV::Array<OV::UniString> recipients{};
        /// The mail that is answered or, without an answer, passed on; none for a new one.
        OV::Ref<SYC::ClientMail> original{};
        std::optional<SYC::MailAnswer> answer{};
    };

    /// The session outlives the window, which deletes itself when it is closed.
    ComposeWindow(ProjectSession& session, Task task, QWidget* parent);
    ~ComposeWindow() override;

    /// Opens the drafts of former runs.
    static void RestoreAll(ProjectSession& session, QWidget* parent);
    /// False when the user wants to go on writing.
    [[nodiscard]] bool MayClose();

signals:
    /// The mail is safe in the outbox.
    void Sent();

private:
    bool eventFilter(QObject* part, QEvent* event) override;
    void reject() override;
    void closeEvent(QCloseEvent* event) override;

    [[nodiscard]] OV::Array<OV::UniString> Recipients(QStringList* unknown) const;
    void ShowRecipients();
    void Complete(const QString& text);
    void Send();
    void KeepDraft();
    void DropDraft();
    static void Restore(ProjectSession& session, const QString& draftFile, QWidget* parent);
    [[nodiscard]] bool IsTyped() const;

    ProjectSession& session_;
    const SYC::MemberCompletion completion_;
    Task task_;
    QLineEdit* to_;
    QLabel* problem_;
    QComboBox* type_;
    QComboBox* importance_;
    QPlainTextEdit* text_;
    QPushButton* send_;
    QTimer draftTimer_;
    QString draftFile_;
    bool isDone_ = false;
};
