#pragma once

#include "Dlg/ListRows.hpp"

#include <QAbstractTableModel>
#include <QIcon>

#include <map>
#include <memory>

namespace Dlg::Detail {

/// The rows of a list box as Qt asks for them, without a copy of their own.
class QtListModel final : public QAbstractTableModel {
public:
    void SetColumns(const OV::Array<ListColumn>& columns);
    void SetRows(std::shared_ptr<const ListRows> rows);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    [[nodiscard]] QVariant Picture(int row, int column) const;

    OV::Array<ListColumn> columns_;
    std::shared_ptr<const ListRows> rows_ = std::make_shared<TextRows>(OV::Array<ListRow>());
    mutable std::map<int, QIcon> pictures_;
};

}  // namespace Dlg::Detail
