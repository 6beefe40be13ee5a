#pragma once

#include <QByteArray>
#include <QString>

/// What the window remembers from one run to the next, in the user's settings of this program.
namespace UserSettings {

[[nodiscard]] QByteArray Read(const QString& name);
void Write(const QString& name, const QByteArray& value);

/// Whether new mails are told by a notice.
[[nodiscard]] bool IsTellingMails();
void SetTellingMails(bool tells);
/// "en", "de"; empty for the one of the system.
[[nodiscard]] QString GetLanguage();
void SetLanguage(const QString& language);

}  // namespace UserSettings
