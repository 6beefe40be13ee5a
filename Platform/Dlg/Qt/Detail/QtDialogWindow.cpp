#include "Dlg/Qt/Detail/QtDialogWindow.hpp"

#include "Dlg/Qt/Detail/QtItemWidgets.hpp"
#include "Dlg/Qt/Detail/QtListModel.hpp"
#include "Dlg/Qt/Detail/QtText.hpp"

#include <QApplication>
#include <QComboBox>
#include <QDateEdit>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>
#include <QScopedValueRollback>
#include <QScreen>
#include <QStyle>
#include <QTableView>
#include <QWindow>

#include <algorithm>

namespace Dlg::Detail {

namespace {

constexpr int LineUnits = 16;
constexpr int IdleMilliseconds = 200;

/// The length of the descriptions in pixels. Controls have a least size that small letters do not
/// lower.
double Unit()
{
    constexpr double smallestLine = 14;
    return std::max(QFontMetricsF(QApplication::font()).lineSpacing(), smallestLine) / LineUnits;
}

int Scaled(int length, double unit)
{
    return static_cast<int>(length * unit + 0.5);
}

bool IsInFrontOf(const Rectangle& text, const Rectangle& control)
{
    const int middle = control.y + control.height / 2;
    return text.x + text.width <= control.x && text.y <= middle && middle <= text.y + text.height;
}

bool IsRightAbove(const Rectangle& text, const Rectangle& control)
{
    constexpr int furthest = 8;
    const int between = control.y - text.y - text.height;
    return text.x == control.x && between >= 0 && between <= furthest;
}

/// What a control without words is called, by its description or the text that stands at it.
OV::UniString NameOf(const ItemDescription& control, const DialogDescription& dialog)
{
    if (!control.label.empty() && control.type != ItemType::Edit)
        return control.label;
    const ItemDescription *inFront = nullptr, *above = nullptr;
    for (const ItemDescription& text : dialog.items) {
        if (text.type != ItemType::Text || text.label.empty())
            continue;
        if (IsInFrontOf(text.place, control.place) &&
            (inFront == nullptr || text.place.x > inFront->place.x))
            inFront = &text;
        else if (IsRightAbove(text.place, control.place))
            above = &text;
    }
    const auto* caption = inFront != nullptr ? inFront : above;
    OV::UniString name = caption == nullptr ? OV::UniString() : caption->label;
    if (name.ends_with(u':'))
        name.pop_back();
    return name;
}

}  // namespace

QtDialogWindow::QtDialogWindow(const DialogDescription& description, WindowEvents& events)
    : QDialog(nullptr, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowCloseButtonHint),
      description_(description), events_(events), unit_(Unit()),
      ownSize_(Scaled(description.width, unit_), Scaled(description.height, unit_))
{
    setWindowModality(Qt::ApplicationModal);
    SetTitle(description.title);
    for (const ItemDescription& item : description.items)
        AddItem(item);
    for (auto& [number, place] : places_)
        FitText(place);
    ApplySize();
    idleTimer_.setInterval(IdleMilliseconds);
    QObject::connect(&idleTimer_, &QTimer::timeout, this, [this] {
        if (isRunning_)
            events_._Idle();
    });
}

QtDialogWindow::~QtDialogWindow()
{
    // As far as the toolkit lets go of a password: it keeps no other copy of the text.
    for (QLineEdit* edit : findChildren<QLineEdit*>())
        edit->setText({});
}

void QtDialogWindow::AddItem(const ItemDescription& item)
{
    Place& place = places_[item.number];
    place.rectangle = {Scaled(item.place.x, unit_), Scaled(item.place.y, unit_),
                       Scaled(item.place.width, unit_), Scaled(item.place.height, unit_)};
    place.resize = item.resize;
    place.widget = MakeItemWidget(item, *this, unit_);
    if (item.type != ItemType::Text && item.type != ItemType::Button) {
        const auto name = ToQt(NameOf(item, description_));
        place.widget->setAccessibleName(name);
        // Some screen readers say of a pop-up what is chosen in place of its name.
        if (item.type == ItemType::PopUp)
            place.widget->setAccessibleDescription(name);
    }
    place.text = item.label;
    Connect(item, *place.widget);
}

void QtDialogWindow::Connect(const ItemDescription& item, QWidget& widget)
{
    const auto used = [this, number = item.number] {
        if (isRunning_ && !isSetting_)
            events_._ItemUsed(number);
    };
    if (auto* const button = qobject_cast<QPushButton*>(&widget)) {
        const bool isReturnOfUse = std::any_of(description_.items.begin(), description_.items.end(),
                                               [](const auto& each) { return each.isDefault; });
        button->setAutoDefault(isReturnOfUse);
        QObject::connect(button, &QPushButton::clicked, this, used);
    } else if (auto* const edit = qobject_cast<QLineEdit*>(&widget)) {
        QObject::connect(edit, &QLineEdit::textEdited, this, used);
    } else if (auto* const popUp = qobject_cast<QComboBox*>(&widget)) {
        QObject::connect(popUp, &QComboBox::activated, this, used);
    } else if (auto* const list = qobject_cast<QTableView*>(&widget)) {
        QObject::connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                         used);
        QObject::connect(list->horizontalHeader(), &QHeaderView::sectionClicked, this,
                         [this, number = item.number](int section) {
                             if (isRunning_)
                                 events_._HeaderUsed(number, section + 1);
                         });
    } else if (auto* const date = qobject_cast<QDateEdit*>(&widget)) {
        QObject::connect(date, &QDateEdit::dateChanged, this, used);
    }
}

void QtDialogWindow::SetTitle(const OV::UniString& title)
{
    setWindowTitle(ToQt(title));
}

void QtDialogWindow::SetEnabled(int item, bool enabled)
{
    places_.at(item).widget->setEnabled(enabled);
}

void QtDialogWindow::SetText(int item, const OV::UniString& text)
{
    Place& place = places_.at(item);
    if (auto* const edit = qobject_cast<QLineEdit*>(place.widget)) {
        edit->setText(ToQt(text));
        return;
    }
    place.text = text;
    if (auto* const button = qobject_cast<QPushButton*>(place.widget)) {
        button->setText(ToQtLabel(text));
    } else if (auto* const label = qobject_cast<QLabel*>(place.widget)) {
        label->setText(Breakable(ToQt(text)));
        FitText(place);
        ApplySize();
    }
}

OV::UniString QtDialogWindow::GetText(int item) const
{
    const Place& place = places_.at(item);
    const auto* const edit = qobject_cast<QLineEdit*>(place.widget);
    return edit != nullptr ? FromQt(edit->text()) : place.text;
}

/// Texts may be as high as half a screen; what is longer is cut off.
void QtDialogWindow::FitText(Place& place)
{
    auto* const label = qobject_cast<QLabel*>(place.widget);
    if (label == nullptr || label->text().isEmpty())
        return;
    const int needed = std::min(label->heightForWidth(place.rectangle.width()),
                                screen()->availableGeometry().height() / 2);
    const int more = needed - place.rectangle.height();
    if (more <= 0)
        return;
    const int below = place.rectangle.bottom();
    for (auto& [number, other] : places_)
        if (other.rectangle.top() > below)
            other.rectangle.translate(0, more);
    place.rectangle.setHeight(needed);
    ownSize_.rheight() += more;
}

void QtDialogWindow::ApplySize()
{
    if (description_.IsResizable()) {
        setMinimumSize(ownSize_);
        if (!isRunning_)
            resize(ownSize_);
    } else {
        setFixedSize(ownSize_);
    }
    PlaceItems();
}

void QtDialogWindow::PlaceItems()
{
    const QSize more = size() - ownSize_;
    for (const auto& [number, place] : places_) {
        const ResizeBehaviour& resize = place.resize;
        QRect rectangle = place.rectangle;
        rectangle.translate(resize.moveX ? more.width() : 0, resize.moveY ? more.height() : 0);
        rectangle.adjust(0, 0, resize.growX ? more.width() : 0, resize.growY ? more.height() : 0);
        place.widget->setGeometry(QStyle::visualRect(layoutDirection(), rect(), rectangle));
    }
}

void QtDialogWindow::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    PlaceItems();
    const bool isFirstShow = !event->oldSize().isValid();
    if (isRunning_ && !isFirstShow)
        events_._Resized();
}

void QtDialogWindow::ClearEntries(int popUp)
{
    As<QComboBox>(popUp)->clear();
}

void QtDialogWindow::AppendEntry(int popUp, const OV::UniString& text)
{
    auto* const widget = As<QComboBox>(popUp);
    const int selected = widget->currentIndex();
    widget->addItem(ToQt(text));
    widget->setCurrentIndex(selected);  // Qt selects the first entry of its own accord
}

void QtDialogWindow::AppendSeparator(int popUp)
{
    auto* const widget = As<QComboBox>(popUp);
    widget->insertSeparator(widget->count());
}

void QtDialogWindow::SetColumns(int listBox, const OV::Array<ListColumn>& columns)
{
    auto* const list = As<QTableView>(listBox);
    static_cast<QtListModel*>(list->model())->SetColumns(columns);
    for (std::size_t column = 0; column < columns.size(); ++column)
        list->setColumnWidth(static_cast<int>(column), Scaled(columns[column].width, unit_));
}

void QtDialogWindow::SetRows(int listBox, std::shared_ptr<const ListRows> rows)
{
    const QScopedValueRollback setting(isSetting_, true);
    static_cast<QtListModel*>(As<QTableView>(listBox)->model())->SetRows(std::move(rows));
}

void QtDialogWindow::SetSortMark(int listBox, int column, bool ascending)
{
    auto* const header = As<QTableView>(listBox)->horizontalHeader();
    header->setSortIndicatorShown(column > 0);
    header->setSortIndicator(column - 1, ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

/// Qt counts in 32 bits and shows an unknown total when there is none.
void QtDialogWindow::SetProgress(int item, std::uint64_t done, std::uint64_t total)
{
    constexpr std::uint64_t steps = 1000;
    auto* const bar = As<QProgressBar>(item);
    bar->setRange(0, total == 0 ? 0 : static_cast<int>(steps));
    if (total != 0)
        bar->setValue(static_cast<int>(static_cast<double>(done) / static_cast<double>(total) *
                                       static_cast<double>(steps)));
    bar->show();
}

void QtDialogWindow::HideProgress(int item)
{
    As<QProgressBar>(item)->hide();
}

void QtDialogWindow::SetSelection(int item, int number)
{
    const QScopedValueRollback setting(isSetting_, true);
    if (auto* const popUp = As<QComboBox>(item))
        popUp->setCurrentIndex(number - 1);
    else if (auto* const list = As<QTableView>(item))
        number > 0 ? list->selectRow(number - 1) : list->clearSelection();
}

int QtDialogWindow::GetSelection(int item) const
{
    if (const auto* const popUp = As<QComboBox>(item))
        return popUp->currentIndex() + 1;
    const auto* const list = As<QTableView>(item);
    const auto rows = list != nullptr ? list->selectionModel()->selectedRows() : QModelIndexList();
    return rows.isEmpty() ? 0 : rows.first().row() + 1;
}

void QtDialogWindow::SetDate(int item, Date date)
{
    const QScopedValueRollback setting(isSetting_, true);
    As<QDateEdit>(item)->setDate({date.year, date.month, date.day});
}

Date QtDialogWindow::GetDate(int item) const
{
    const QDate date = As<QDateEdit>(item)->date();
    return {date.year(), date.month(), date.day()};
}

/// The first line that is empty still has the focus, or the first of all. A wait dialog comes up
/// while the user types elsewhere: a key must not press its only button, so without an edit text or
/// a default button the window itself has the focus.
void QtDialogWindow::FocusFirst()
{
    setFocus();
    QLineEdit* first = nullptr;
    for (const ItemDescription& item : description_.items)
        if (auto* const edit = As<QLineEdit>(item.number);
            edit != nullptr &&
            (first == nullptr || (!first->text().isEmpty() && edit->text().isEmpty())))
            first = edit;
    if (first != nullptr)
        return first->setFocus();
    for (const ItemDescription& item : description_.items)
        if (item.isDefault)
            return places_.at(item.number).widget->setFocus();
}

void QtDialogWindow::RunModal()
{
    if (const QWidget* const active = QApplication::activeWindow()) {
        (void)winId();  // makes the window that can be tied to the other one
        windowHandle()->setTransientParent(active->windowHandle());
    }
    isRunning_ = true;
    show();
    FocusFirst();
    if (isRunning_)
        loop_.exec();
    isRunning_ = false;
    hide();
}

void QtDialogWindow::EndModal() noexcept
{
    isRunning_ = false;
    loop_.exit();
}

}  // namespace Dlg::Detail
