#pragma once

#include "Messaging/MailAnswer.hpp"
#include "ProjectSession.hpp"

#include <QFrame>

class QLabel;
class QPushButton;
class QTextBrowser;
class QTextCursor;

/// One mail as it is read: who sent it, what can be done with it, its text, and its conversation.
/// The buttons stay where they are, whatever mail is shown.
class MailReader final : public QFrame {
    Q_OBJECT
public:
    using Thread = SYC::MailFile::MailList;

    /// The session outlives the reader.
    MailReader(ProjectSession& session, QWidget* parent);

    /// None for no mail. `thread` are the mails of its conversation, oldest first.
    void Show(const OV::Ref<SYC::ClientMail>& mail, const Thread& thread);
    /// Puts the focus on the text.
    void FocusText();

signals:
    /// With a note it goes through the window for writing.
    void AnswerWanted(SYC::MailAnswer answer, bool withNote);
    void ForwardWanted();
    void DeleteWanted();
    void HistoryWanted();

private:
    template <class Pressed>
    QPushButton* AddButton(class QBoxLayout& row, const QString& text, const char* name,
                           Pressed pressed);
    [[nodiscard]] QWidget* MakeHead();
    [[nodiscard]] QWidget* MakeRequest();
    [[nodiscard]] QWidget* MakeActions();
    void ShowHead();
    void ShowActions();
    void Write(QTextCursor& cursor, const SYC::ClientMail& mail) const;

    ProjectSession& session_;
    OV::Ref<SYC::ClientMail> mail_;
    QLabel *nothing_, *face_ = nullptr, *sender_ = nullptr, *facts_ = nullptr, *request_ = nullptr;
    QWidget *head_ = nullptr, *requestBox_ = nullptr, *actions_ = nullptr;
    QPushButton *give_ = nullptr, *giveWithNote_ = nullptr, *deny_ = nullptr, *revoke_ = nullptr,
                *reply_ = nullptr, *forward_ = nullptr, *done_ = nullptr, *delete_ = nullptr;
    class QBoxLayout* ownActions_ = nullptr;
    QTextBrowser* text_;
};
