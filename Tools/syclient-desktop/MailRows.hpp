#pragma once

#include "Card.hpp"
#include "Messaging/MailListModel.hpp"
#include "ProjectSession.hpp"

#include <QAbstractListModel>

/// The list of mails as Qt's views want it: a card a row.
class MailRows final : public QAbstractListModel, private SYC::MailListModelObserver {
    Q_OBJECT
public:
    /// The session outlives the rows, and `home` both.
    MailRows(ProjectSession& session, OV::Executor& home);

    [[nodiscard]] SYC::MailListModel& Mails() noexcept { return mails_; }
    [[nodiscard]] const SYC::MailListModel& Mails() const noexcept { return mails_; }
    [[nodiscard]] OV::Ref<SYC::ClientMail> MailAt(const QModelIndex& index) const;
    /// Where a mail shows; invalid when it does not.
    [[nodiscard]] QModelIndex Find(const OV::UniString& id) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

signals:
    void CountsMoved();
    /// Sorting or searching began or ended.
    void BusyMoved();

private:
    void RowsToBeInserted(SYC::MailListModel&, std::size_t first, std::size_t count) override;
    void RowsInserted(SYC::MailListModel&, std::size_t, std::size_t) override;
    void RowsToBeRemoved(SYC::MailListModel&, std::size_t first, std::size_t count) override;
    void RowsRemoved(SYC::MailListModel&, std::size_t, std::size_t) override;
    void RowsChanged(SYC::MailListModel&, std::size_t first, std::size_t count) override;
    void ListToBeReset(SYC::MailListModel&) override;
    void ListReset(SYC::MailListModel&) override;
    void CountsChanged(SYC::MailListModel&) override;
    void BusyChanged(SYC::MailListModel&) override;

    [[nodiscard]] Card CardOf(const SYC::ClientMail& mail) const;

    ProjectSession& session_;
    SYC::MailListModel mails_;
    // Last, so that nobody is told once the rest goes.
    OV::Subscription subscription_;
};
