#include "Words.hpp"

#include "ConnectToServer.hpp"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>

namespace Words {

namespace {

/// Without the seconds, which the short form of some places has.
QString TimeOfDay(const QTime& time)
{
    const QLocale locale;
    return locale.toString(time, locale.timeFormat(QLocale::ShortFormat).remove(":ss"));
}

}  // namespace

QString When(std::int32_t seconds)
{
    if (seconds == 0)
        return {};
    const auto time = QDateTime::fromSecsSinceEpoch(seconds);
    const auto days = time.date().daysTo(QDate::currentDate());
    const QLocale locale;
    if (days == 0)
        return TimeOfDay(time.time());
    if (days == 1)
        return QCoreApplication::translate("Words", "yesterday");
    constexpr int week = 7;
    if (days > 1 && days < week)
        return locale.dayName(time.date().dayOfWeek(), QLocale::ShortFormat);
    return locale.toString(time.date(), QLocale::ShortFormat);
}

QString Exactly(std::int32_t seconds)
{
    if (seconds == 0)
        return {};
    const auto time = QDateTime::fromSecsSinceEpoch(seconds);
    return QLocale().toString(time.date(), QLocale::ShortFormat) + " " + TimeOfDay(time.time());
}

QString ReasonOf(const SYC::Failure& failure)
{
    return ToQt(failure.sentence + u" " + failure.advice).trimmed();
}

QString ServerName(const QString& host, int port)
{
    return port == SYC::UsualPort ? host : QString("%1:%2").arg(host).arg(port);
}

}  // namespace Words
