#pragma once

#include <QColor>
#include <QImage>
#include <QMetaType>
#include <QString>

/// What one row of a list shows: a title and a line below it, and what stands around them. A
/// heading has its title alone.
struct Card {
    enum class Tone { Plain, Good, Attention, Bad };
    enum class Dot { None, Good, Bad, Quiet };

    QString title{};
    QString subtitle{};
    /// A word in a box before the subtitle.
    QString badge{};
    Tone tone = Tone::Plain;
    /// At the end of the title's line.
    QString aside{};
    /// The button of the row; none without a text.
    QString action{};
    /// The face before the texts: a picture, or initials on a colour; none without either.
    QImage photo{};
    QString initials{};
    QColor colour{};
    Dot dot = Dot::None;
    bool isHeading = false;
    bool isStrong = false;
    bool isDimmed = false;
};
Q_DECLARE_METATYPE(Card)

/// The role under which a model gives the Card of a row.
inline constexpr int CardRole = Qt::UserRole + 1;

/// The card as a screen reader says it.
[[nodiscard]] QString ToSpeech(const Card& card);
/// "Anna Novák" becomes "AN", a name in characters without capitals its last one.
[[nodiscard]] QString InitialsOf(const QString& name);
