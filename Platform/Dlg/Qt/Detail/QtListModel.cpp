#include "Dlg/Qt/Detail/QtListModel.hpp"

#include "Dlg/Qt/Detail/QtText.hpp"

namespace Dlg::Detail {

void QtListModel::SetColumns(const OV::Array<ListColumn>& columns)
{
    beginResetModel();
    columns_ = columns;
    endResetModel();
}

void QtListModel::SetRows(std::shared_ptr<const OV::Array<ListRow>> rows)
{
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
}

int QtListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_->size());
}

int QtListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QVariant QtListModel::data(const QModelIndex& index, int role) const
{
    const auto column = static_cast<std::size_t>(index.column());
    if (role == Qt::TextAlignmentRole && columns_[column].isRightAligned)
        return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
    const ListRow& row = (*rows_)[static_cast<std::size_t>(index.row())];
    if (role == Qt::DisplayRole && column < row.size())
        return ToQt(row[column]);
    return {};
}

QVariant QtListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return ToQt(columns_[static_cast<std::size_t>(section)].title);
    return {};
}

}  // namespace Dlg::Detail
