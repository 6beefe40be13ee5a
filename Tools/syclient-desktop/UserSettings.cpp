#include "UserSettings.hpp"

#include <QSettings>
#include <QStandardPaths>

namespace {

/// Opened for each use: another window of this program may have written.
class Settings : public QSettings {
public:
    Settings()
        : QSettings(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                        "/Orvant/SYClientDesktop.ini",
                    QSettings::IniFormat)
    {}
};

}  // namespace

namespace UserSettings {

QByteArray Read(const QString& name)
{
    return Settings().value(name).toByteArray();
}

void Write(const QString& name, const QByteArray& value)
{
    Settings().setValue(name, value);
}

bool IsTellingMails()
{
    return Settings().value("tellMails", true).toBool();
}

void SetTellingMails(bool tells)
{
    Settings().setValue("tellMails", tells);
}

QString GetLanguage()
{
    return Settings().value("language").toString();
}

void SetLanguage(const QString& language)
{
    Settings().setValue("language", language);
}

}  // namespace UserSettings
