#include "CardDelegate.hpp"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <algorithm>

namespace {

QColor Mixed(const QColor& a, const QColor& b, double share)
{
    const auto mix = [share](double x, double y) {
        return static_cast<float>(x + (y - x) * share);
    };
    return QColor::fromRgbF(mix(a.redF(), b.redF()), mix(a.greenF(), b.greenF()),
                            mix(a.blueF(), b.blueF()));
}

QColor HueOf(Card::Tone tone)
{
    switch (tone) {
    case Card::Tone::Good:
        return {30, 160, 80};
    case Card::Tone::Attention:
        return {225, 150, 0};
    case Card::Tone::Bad:
        return {215, 50, 50};
    default:
        return {110, 125, 140};
    }
}

QColor ColourOf(Card::Dot dot)
{
    return dot == Card::Dot::Good  ? HueOf(Card::Tone::Good)
           : dot == Card::Dot::Bad ? HueOf(Card::Tone::Bad)
                                   : QColor(160, 168, 176);
}

/// Where the parts of a row lie, in a window whose texts begin at the left.
struct Places {
    QRect face, dot, title, aside, badge, subtitle, action;
    QFont titleFont, smallFont;
};

QFont Smaller(QFont font)
{
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * 0.9);
    return font;
}

int Margin(const QFontMetrics& metrics)
{
    return metrics.height() / 2;
}

Places Measure(const QStyleOptionViewItem& option, const Card& card)
{
    Places places;
    places.titleFont = option.font;
    places.titleFont.setBold(card.isStrong || card.isHeading);
    places.smallFont = Smaller(option.font);
    const QFontMetrics title(places.titleFont), text(option.font), tiny(places.smallFont);
    const int margin = Margin(text);
    QRect rest = option.rect.adjusted(margin, 0, -margin, 0);
    if (card.isHeading) {
        places.title = rest.adjusted(0, margin / 2, 0, 0);
        return places;
    }
    const int lines =
        title.height() + (card.subtitle.isEmpty() && card.badge.isEmpty() ? 0 : text.height() + 2);
    const int top = rest.top() + (rest.height() - lines) / 2;
    const int dot = text.height() / 2;
    if (!card.photo.isNull() || !card.initials.isEmpty()) {
        const int side = 2 * text.height();
        places.face = QRect(rest.left(), rest.top() + (rest.height() - side) / 2, side, side);
        places.dot = QRect(places.face.right() - dot + 2, places.face.bottom() - dot + 2, dot, dot);
        rest.setLeft(places.face.right() + 1 + margin);
    } else if (card.dot != Card::Dot::None) {
        places.dot = QRect(rest.left(), top + (title.height() - dot) / 2, dot, dot);
        rest.setLeft(places.dot.right() + 1 + margin / 2);
    }
    if (!card.action.isEmpty()) {
        const int width = text.horizontalAdvance(card.action) + 3 * margin;
        const int height = text.height() + margin + 2;
        places.action = QRect(rest.right() - width + 1, rest.top() + (rest.height() - height) / 2,
                              width, height);
        rest.setRight(places.action.left() - margin);
    }
    places.title = QRect(rest.left(), top, rest.width(), title.height());
    if (!card.aside.isEmpty()) {
        const int width = std::min(tiny.horizontalAdvance(card.aside) + 2, rest.width() / 2);
        places.aside = QRect(rest.right() - width + 1, top, width, title.height());
        places.title.setRight(places.aside.left() - margin);
    }
    places.subtitle = QRect(rest.left(), top + title.height() + 2, rest.width(), text.height());
    if (!card.badge.isEmpty()) {
        const int width = std::min(tiny.horizontalAdvance(card.badge) + margin, rest.width());
        places.badge = QRect(rest.left(), places.subtitle.top(), width, text.height());
        places.subtitle.setLeft(places.badge.right() + 1 + margin / 2);
    }
    return places;
}

void DrawFace(QPainter& painter, const QRectF& place, const Card& card, const QPalette& palette)
{
    painter.setPen(Qt::NoPen);
    QPainterPath circle;
    circle.addEllipse(place);
    if (!card.photo.isNull()) {
        // The middle of the picture, as large as fills the circle.
        const int side = std::min(card.photo.width(), card.photo.height());
        const QRect part((card.photo.width() - side) / 2, (card.photo.height() - side) / 2, side,
                         side);
        painter.save();
        painter.setClipPath(circle);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(place, card.photo, part);
        painter.restore();
    } else {
        const QColor colour = card.colour.isValid() ? card.colour : QColor(110, 125, 140);
        painter.fillPath(circle, colour);
        painter.setPen(colour.lightness() > 160 ? Qt::black : Qt::white);
        QFont font = painter.font();
        font.setPixelSize(std::max(
            6, static_cast<int>(place.height() * (card.initials.size() > 1 ? 0.38 : 0.46))));
        font.setBold(true);
        painter.setFont(font);
        painter.drawText(place, Qt::AlignCenter, card.initials);
    }
    if (card.isDimmed) {
        QColor veil = palette.color(QPalette::Base);
        veil.setAlphaF(0.45F);
        painter.fillPath(circle, veil);
    }
}

}  // namespace

QPixmap CardDelegate::MakeFace(const Card& card, int side, const QPalette& palette, qreal ratio)
{
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    DrawFace(painter, QRectF(0, 0, side, side), card, palette);
    return picture;
}

void CardDelegate::paint(QPainter* painter, const QStyleOptionViewItem& given,
                         const QModelIndex& index) const
{
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    const auto card = index.data(CardRole).value<Card>();
    const auto places = Measure(option, card);
    const QStyle* style = option.widget != nullptr ? option.widget->style() : QApplication::style();
    const auto laid = [&option](const QRect& place) {
        return QStyle::visualRect(option.direction, option.rect, place);
    };
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (!card.isHeading)
        style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
    const auto group =
        (option.state & QStyle::State_Active) != 0 ? QPalette::Active : QPalette::Inactive;
    const bool isSelected = (option.state & QStyle::State_Selected) != 0 && !card.isHeading;
    const QColor base =
        option.palette.color(group, isSelected ? QPalette::Highlight : QPalette::Base);
    const QColor text =
        option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
    const QColor quiet = Mixed(text, base, isSelected ? 0.15 : 0.35);
    const auto write = [&](const QRect& place, const QString& words, const QFont& font,
                           const QColor& colour, Qt::Alignment side) {
        painter->setFont(font);
        painter->setPen(colour);
        const auto line = QString(words).replace('\n', ' ');
        painter->drawText(laid(place),
                          static_cast<int>(QStyle::visualAlignment(option.direction, side) |
                                           Qt::AlignVCenter | Qt::AlignAbsolute) |
                              Qt::TextSingleLine,
                          QFontMetrics(font).elidedText(line, Qt::ElideRight, place.width()));
    };
    write(places.title, card.title, places.titleFont,
          card.isHeading || card.isDimmed ? quiet : text, Qt::AlignLeft);
    if (card.isHeading) {
        painter->restore();
        return;
    }
    write(places.aside, card.aside, places.smallFont, quiet, Qt::AlignRight);
    write(places.subtitle, card.subtitle, option.font, quiet, Qt::AlignLeft);
    if (!card.badge.isEmpty()) {
        const QColor hue = HueOf(card.tone);
        painter->setPen(Qt::NoPen);
        // On the colour of the selection a hue of its own would be hard to read.
        painter->setBrush(isSelected ? Mixed(base, text, 0.25) : Mixed(base, hue, 0.2));
        const double corner = places.badge.height() / 5.0;
        painter->drawRoundedRect(laid(places.badge), corner, corner);
        const int inset = Margin(QFontMetrics(option.font)) / 2;
        write(places.badge.adjusted(inset, 0, 0, 0), card.badge, places.smallFont,
              isSelected ? text : Mixed(text, hue, 0.45), Qt::AlignLeft);
    }
    if (!places.face.isNull())
        DrawFace(*painter, laid(places.face), card, option.palette);
    if (card.dot != Card::Dot::None) {
        painter->setPen(QPen(base, 2));
        painter->setBrush(ColourOf(card.dot));
        painter->drawEllipse(laid(places.dot));
    }
    painter->restore();
    if (!card.action.isEmpty()) {
        QStyleOptionButton button;
        button.rect = laid(places.action);
        button.text = card.action;
        button.palette = option.palette;
        button.fontMetrics = QFontMetrics(option.font);
        button.direction = option.direction;
        button.state = QStyle::State_Enabled | QStyle::State_Raised |
                       (option.state & (QStyle::State_Active | QStyle::State_MouseOver));
        if (isSelected)
            button.features |= QStyleOptionButton::DefaultButton;
        style->drawControl(QStyle::CE_PushButton, &button, painter, option.widget);
    }
}

QSize CardDelegate::sizeHint(const QStyleOptionViewItem& given, const QModelIndex& index) const
{
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    const auto card = index.data(CardRole).value<Card>();
    const QFontMetrics metrics(option.font);
    const int margin = Margin(metrics);
    if (card.isHeading)
        return {metrics.horizontalAdvance(card.title) + 2 * margin,
                metrics.height() + margin + margin / 2};
    return {12 * metrics.averageCharWidth(), 2 * metrics.height() + 2 + 2 * margin};
}

bool CardDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                               const QStyleOptionViewItem& given, const QModelIndex& index)
{
    if (event->type() == QEvent::MouseButtonRelease) {
        QStyleOptionViewItem option = given;
        initStyleOption(&option, index);
        const auto card = index.data(CardRole).value<Card>();
        const auto place =
            QStyle::visualRect(option.direction, option.rect, Measure(option, card).action);
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (!card.action.isEmpty() && mouse->button() == Qt::LeftButton &&
            place.contains(mouse->position().toPoint())) {
            emit ActionPressed(index);
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, given, index);
}

bool CardDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                             const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const auto card = index.data(CardRole).value<Card>();
    if (event->type() != QEvent::ToolTip || card.isHeading)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    // Qt takes what looks like markup for it, whoever made up the name.
    QToolTip::showText(event->globalPos(), "<span>" + ToSpeech(card).toHtmlEscaped() + "</span>",
                       view);
    return true;
}
