#include "WindowLanguage.hpp"

#include "OVRoot/Language.hpp"
#include "UserSettings.hpp"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QList>
#include <QLocale>
#include <QTranslator>

namespace {

/// What was installed, in the hands of the application.
QList<QTranslator*>& Installed()
{
    static QList<QTranslator*> translators;
    return translators;
}

bool Install(const QString& name, const QString& folder)
{
    auto* translator = new QTranslator(QCoreApplication::instance());
    Installed() += translator;
    return translator->load(name, folder) && QCoreApplication::installTranslator(translator);
}

}  // namespace

void InstallLanguage()
{
    qDeleteAll(Installed());
    Installed().clear();
    const QString chosen = UserSettings::GetLanguage();
    const QLocale locale = chosen.isEmpty() ? QLocale::system() : QLocale(chosen);
    QLocale::setDefault(locale);
    const QString language = locale.name().section('_', 0, 0);
    OV::SetLanguage(language.toStdString());
    // Qt's own texts are a package of their own; without it they are English.
    (void)Install("qtbase_" + language, QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    if (!Install("desktop_" + language, ":/translations"))
        (void)Install("desktop_en", ":/translations");
}
