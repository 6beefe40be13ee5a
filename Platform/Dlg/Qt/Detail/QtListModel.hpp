#pragma once

#include "Dlg/ListColumn.hpp"

#include <QAbstractTableModel>

#include <memory>

namespace Dlg::Detail {

/// The rows of a list box as Qt asks for them, without a copy of their own.
class QtListModel final : public QAbstractTableModel {
public:
    void SetColumns(const OV::Array<ListColumn>& columns);
    void SetRows(std::shared_ptr<const OV::Array<ListRow>> rows);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    OV::Array<ListColumn> columns_;
    std::shared_ptr<const OV::Array<ListRow>> rows_ = std::make_shared<const OV::Array<ListRow>>();
};

}  // namespace Dlg::Detail
