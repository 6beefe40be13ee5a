#include "Dlg/Qt/Detail/QtListModel.hpp"

#include "Dlg/Qt/Detail/QtText.hpp"
#include "OVRoot/Resources.hpp"

#include <QPixmap>

namespace Dlg::Detail {

void QtListModel::SetColumns(const OV::Array<ListColumn>& columns)
{
    beginResetModel();
    columns_ = columns;
    endResetModel();
}

void QtListModel::SetRows(std::shared_ptr<const ListRows> rows)
{
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
}

int QtListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : rows_->GetCount();
}

int QtListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QVariant QtListModel::data(const QModelIndex& index, int role) const
{
    const int row = index.row() + 1;
    const int column = index.column() + 1;
    if (role == Qt::DisplayRole)
        return ToQt(rows_->GetText(row, column));
    if (role == Qt::DecorationRole)
        return Picture(row, column);
    if (role == Qt::TextAlignmentRole &&
        columns_[static_cast<std::size_t>(index.column())].isRightAligned)
        return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
    return {};
}

QVariant QtListModel::Picture(int row, int column) const
{
    const int number = rows_->GetPicture(row, column);
    if (number == 0)
        return {};
    const auto [found, isNew] = pictures_.try_emplace(number);
    if (isNew) {
        const auto bytes = OV::GetPictureResource(number);
        QPixmap pixmap;
        pixmap.loadFromData(reinterpret_cast<const uchar*>(bytes.data()),
                            static_cast<uint>(bytes.size()), "PNG");
        found->second = QIcon(pixmap);
    }
    return found->second;
}

QVariant QtListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return ToQt(columns_[static_cast<std::size_t>(section)].title);
    return {};
}

}  // namespace Dlg::Detail
