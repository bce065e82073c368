#pragma once

#include <QString>

class QLocale;

namespace Hosting {

/// Lets the program speak the user's language: the library, what hosts share, and the program's own texts, embedded as
/// ":/NAME/translations/NAME_<language>.qm". All of them change together, or all stay English.
///
/// Thread: UI thread, once, before anything shows a text.
/// Ownership: the translators belong to the QCoreApplication.
void InstallTranslations(const QString& i_program);
/// The same in the language of a locale; again whenever the user wants another one.
void InstallTranslations(const QString& i_program, const QLocale& i_locale);

} // namespace Hosting
