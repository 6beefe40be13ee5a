#pragma once

#include "Dlg/Qt/QtToolkit.hpp"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include <functional>

/// A user of the Qt dialogs: acts on the window that is open, through its widgets, and takes its
/// picture into the folder of SYCLIENT_SCREENSHOTS when that is set.
class QtUser {
public:
    /// What to do with each window that comes up, in their order.
    void Then(std::function<void()> act) { acts_.push_back(std::move(act)); }

    /// Does so. A window that is not closed in a minute is closed by force, and the test fails.
    QtUser()
    {
        QObject::connect(&timer_, &QTimer::timeout, [this] { Look(); });
        timer_.start(5);
        QObject::connect(&patience_, &QTimer::timeout, [this] { GiveUp(); });
        patience_.setSingleShot(true);
        patience_.start(60'000);
    }
    ~QtUser() { EXPECT_TRUE(acts_.empty()) << acts_.size() << " windows did not come up"; }

    [[nodiscard]] static QWidget& Window() { return *QApplication::activeModalWidget(); }
    template <class Widget = QWidget>
    [[nodiscard]] static Widget& Item(int number)
    {
        return *Window().findChild<Widget*>(QString("item%1").arg(number));
    }
    static void Press(int button)
    {
        QTest::mouseClick(&Item<QAbstractButton>(button), Qt::LeftButton);
    }
    static void Key(Qt::Key key)
    {
        QWidget* const focus = QApplication::focusWidget();
        QTest::keyClick(focus != nullptr ? focus : &Window(), key);
    }
    /// One notch towards the user.
    static void TurnWheel(QWidget& widget)
    {
        QWheelEvent event(QPointF(5, 5), widget.mapToGlobal(QPointF(5, 5)), {}, {0, -120}, {}, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&widget, &event);
    }
    /// Opens the pop-up by a key and takes the entry, from 0, out of its list.
    static void Choose(QComboBox& popUp, int entry)
    {
        QTest::keyClick(&popUp, Qt::Key_Down);
        popUp.view()->setCurrentIndex(popUp.model()->index(entry, 0));
        QTest::keyClick(popUp.view(), Qt::Key_Return);
    }
    /// Presses the button of an alert that has this text.
    static void PressText(const QString& text)
    {
        for (QAbstractButton* button : Window().findChildren<QAbstractButton*>())
            if (button->text() == text)
                return QTest::mouseClick(button, Qt::LeftButton);
        ADD_FAILURE() << "there is no button " << text.toStdString();
    }

    /// Whatever below `window` takes the keyboard tells a screen reader its name, and Tab leads to
    /// it.
    static void ExpectReadable(QWidget& window)
    {
        ExpectReadable(*QAccessible::queryAccessibleInterface(&window));
    }

    /// Every text fits into its widget, and no two widgets overlap.
    static void ExpectGoodLooks(const char* name)
    {
        SCOPED_TRACE(name);
        ExpectReadable(Window());
        const auto widgets = Window().findChildren<QWidget*>(QRegularExpression("^item[0-9]+$"));
        for (const QWidget* widget : widgets) {
            SCOPED_TRACE(widget->objectName().toStdString());
            EXPECT_TRUE(Window().rect().contains(widget->geometry()));
            for (const QWidget* other : widgets)
                EXPECT_TRUE(other == widget || !other->geometry().intersects(widget->geometry()));
            if (const auto* label = qobject_cast<const QLabel*>(widget)) {
                EXPECT_LE(label->heightForWidth(label->width()), label->height());
                EXPECT_LE(label->minimumSizeHint().width(), label->width());
            } else {
                EXPECT_LE(widget->minimumSizeHint().height(), widget->height());
                EXPECT_TRUE(qobject_cast<const QAbstractButton*>(widget) == nullptr ||
                            widget->sizeHint().width() <= widget->width());
            }
        }
        TakePicture(name);
    }
    static void TakePicture(const char* name)
    {
        if (const auto folder = qEnvironmentVariable("SYCLIENT_SCREENSHOTS"); !folder.isEmpty()) {
            EXPECT_TRUE(Window().grab().save(folder + "/" + name + ".png"));
        }
    }

private:
    static void ExpectReadable(QAccessibleInterface& node)
    {
        const auto state = node.state();
        if (state.invisible)
            return;
        const auto* const widget = qobject_cast<const QWidget*>(node.object());
        // A cell of a table may be empty, and what Qt makes is Qt's.
        const bool isOurs = widget != nullptr ? !widget->objectName().startsWith("qt_")
                                              : node.role() == QAccessible::ListItem;
        if (state.focusable && isOurs) {
            const std::string what =
                widget == nullptr ? "row"
                                  : std::string(widget->metaObject()->className()) + " " +
                                        widget->objectName().toStdString() + " of " +
                                        (widget->parentWidget() != nullptr
                                             ? widget->parentWidget()->metaObject()->className()
                                             : "nobody");
            EXPECT_FALSE(node.text(QAccessible::Name).isEmpty()) << what << " has no name";
            EXPECT_TRUE(widget == nullptr || (widget->focusPolicy() & Qt::TabFocus) != 0)
                << "Tab passes " << what << " by";
        }
        // What is chosen in it is read out; what for, its label or its tool tip says.
        if (node.role() == QAccessible::ComboBox) {
            EXPECT_FALSE(node.relations(QAccessible::Label).isEmpty() &&
                         node.text(QAccessible::Description).isEmpty())
                << node.object()->objectName().toStdString() << " does not say what it chooses";
        }
        if (const auto* label = qobject_cast<const QLabel*>(widget);
            label != nullptr && isOurs && node.textInterface() == nullptr) {
            const auto lettersOf = [](QString text) {
                return text.remove(QRegularExpression("\\W"));
            };
            const bool isRich =
                label->textFormat() == Qt::RichText ||
                (label->textFormat() == Qt::AutoText && Qt::mightBeRichText(label->text()));
            const auto shown = isRich ? QTextDocumentFragment::fromHtml(label->text()).toPlainText()
                                      : label->text();
            EXPECT_TRUE(lettersOf(node.text(QAccessible::Name)).contains(lettersOf(shown)))
                << label->objectName().toStdString() << " says "
                << node.text(QAccessible::Name).toStdString() << ", and shows "
                << shown.toStdString();
        }
        constexpr int most = 50;  // rows of a list
        for (int child = 0; child < std::min(most, node.childCount()); ++child)
            if (auto* const below = node.child(child))
                ExpectReadable(*below);
    }

    void Look()
    {
        QWidget* const window = QApplication::activeModalWidget();
        if (window == nullptr || window == seen_ || acts_.empty())
            return;
        seen_ = window;
        QObject::connect(window, &QObject::destroyed, &timer_, [this] { seen_ = nullptr; });
        auto act = std::move(acts_.front());
        acts_.erase(acts_.begin());
        // Not from here: while a timer is at work, it does not see the windows that come up then.
        QMetaObject::invokeMethod(&timer_, std::move(act), Qt::QueuedConnection);
    }
    void GiveUp()
    {
        ADD_FAILURE() << "a window stays open";
        QApplication::quit();
    }

    std::vector<std::function<void()>> acts_;
    QTimer timer_;
    QTimer patience_;
    QWidget* seen_ = nullptr;
};
