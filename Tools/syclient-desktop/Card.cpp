#include "Card.hpp"

#include <QStringList>

QString ToSpeech(const Card& card)
{
    QStringList parts;
    for (const QString& part : {card.title, card.badge, card.subtitle, card.aside})
        if (!part.isEmpty())
            parts += part;
    return parts.join(", ");
}

QString InitialsOf(const QString& name)
{
    const auto words = name.split(' ', Qt::SkipEmptyParts);
    if (words.isEmpty())
        return {};
    const auto first = [](const QString& word) {
        return word.left(word.at(0).isHighSurrogate() ? 2 : 1).toUpper();
    };
    // Where no letter has a capital, the family name stands first and the given name is one
    // character.
    if (words.last().at(0).script() == QChar::Script_Han)
        return words.last().right(1);
    return words.size() == 1 ? first(words.first()) : first(words.first()) + first(words.last());
}
