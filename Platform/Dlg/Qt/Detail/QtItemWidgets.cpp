#include "Dlg/Qt/Detail/QtItemWidgets.hpp"

#include "Dlg/Qt/Detail/QtListModel.hpp"
#include "Dlg/Qt/Detail/QtText.hpp"

#include <QComboBox>
#include <QDateEdit>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QTableView>
#include <QWheelEvent>

namespace Dlg::Detail {

namespace {

QWidget* MakeText(const ItemDescription& item, QWidget& parent)
{
    auto* const label = new QLabel(&parent);
    label->setTextFormat(Qt::PlainText);  // a project's name is no mark-up
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    label->setText(Breakable(ToQt(item.label)));
    return label;
}

QWidget* MakeEdit(const ItemDescription& item, QWidget& parent)
{
    auto* const edit = new QLineEdit(ToQt(item.label), &parent);
    if (item.type == ItemType::Password)
        edit->setEchoMode(QLineEdit::Password);
    return edit;
}

QWidget* MakeButton(const ItemDescription& item, QWidget& parent)
{
    auto* const button = new QPushButton(ToQtLabel(item.label), &parent);
    button->setDefault(item.isDefault);
    return button;
}

/// A pop-up whose entries are chosen from the opened list alone. Qt's own takes a notch of the
/// wheel above the closed control, an arrow key or a letter for a choice, and choices may act at
/// once.
class ListedPopUp final : public QComboBox {
public:
    using QComboBox::QComboBox;

private:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
    void keyPressEvent(QKeyEvent* event) override
    {
        if (WouldChoose(*event))
            showPopup();
        else
            QComboBox::keyPressEvent(event);
    }

    static bool WouldChoose(const QKeyEvent& event)
    {
        switch (event.key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
        case Qt::Key_Home:
        case Qt::Key_End:
            return true;
        default:
            return !event.text().isEmpty() && event.text().front().isPrint();
        }
    }
};

QWidget* MakePopUp(const ItemDescription& item, QWidget& parent)
{
    auto* const popUp = new ListedPopUp(&parent);
    popUp->setPlaceholderText(ToQt(item.label));
    // Qt's pale placeholder looks like a disabled control.
    QPalette colours = popUp->palette();
    for (const auto group : {QPalette::Active, QPalette::Inactive})
        colours.setColor(group, QPalette::PlaceholderText,
                         colours.color(group, QPalette::ButtonText));
    popUp->setPalette(colours);
    return popUp;
}

QWidget* MakeListBox(QWidget& parent)
{
    auto* const list = new QTableView(&parent);
    list->setModel(new QtListModel);
    list->model()->setParent(list);
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setTabKeyNavigation(false);
    list->setShowGrid(false);
    list->verticalHeader()->hide();
    list->verticalHeader()->setDefaultSectionSize(list->fontMetrics().height() + 6);
    list->horizontalHeader()->setStretchLastSection(true);
    list->horizontalHeader()->setHighlightSections(false);
    list->horizontalHeader()->setSectionsClickable(true);
    return list;
}

QWidget* MakeDate(QWidget& parent)
{
    auto* const date = new QDateEdit(&parent);
    date->setCalendarPopup(true);
    return date;
}

QWidget* MakeIcon(const ItemDescription& item, QWidget& parent, double unit)
{
    const auto picture = item.picture == Picture::Warning    ? QStyle::SP_MessageBoxWarning
                         : item.picture == Picture::Question ? QStyle::SP_MessageBoxQuestion
                                                             : QStyle::SP_MessageBoxInformation;
    auto* const label = new QLabel(&parent);
    const int size = static_cast<int>(item.place.width * unit);
    label->setPixmap(parent.style()->standardIcon(picture).pixmap(size, size));
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    return label;
}

QWidget* MakeProgress(QWidget& parent)
{
    auto* const bar = new QProgressBar(&parent);
    bar->hide();
    return bar;
}

QWidget* MakeSeparator(QWidget& parent)
{
    auto* const line = new QFrame(&parent);
    line->setFrameStyle(QFrame::HLine | QFrame::Sunken);
    return line;
}

QWidget* Make(const ItemDescription& item, QWidget& parent, double unit)
{
    switch (item.type) {
    case ItemType::Text:
        return MakeText(item, parent);
    case ItemType::Edit:
    case ItemType::Password:
        return MakeEdit(item, parent);
    case ItemType::Button:
        return MakeButton(item, parent);
    case ItemType::PopUp:
        return MakePopUp(item, parent);
    case ItemType::ListBox:
        return MakeListBox(parent);
    case ItemType::Date:
        return MakeDate(parent);
    case ItemType::Icon:
        return MakeIcon(item, parent, unit);
    case ItemType::Progress:
        return MakeProgress(parent);
    case ItemType::Separator:
        break;
    }
    return MakeSeparator(parent);
}

}  // namespace

QWidget* MakeItemWidget(const ItemDescription& item, QWidget& parent, double unit)
{
    QWidget* const widget = Make(item, parent, unit);
    widget->setObjectName(QStringLiteral("item%1").arg(item.number));
    return widget;
}

QString Breakable(const QString& text)
{
    constexpr int longestWord = 20;
    const QChar breakPoint(0x200B);
    QString shown;
    int length = 0;
    for (const QChar character : text) {
        length = character.isSpace() ? 0 : length + 1;
        if (length > longestWord && !character.isLowSurrogate()) {
            shown.append(breakPoint);
            length = 1;
        }
        shown.append(character);
    }
    return shown;
}

}  // namespace Dlg::Detail
