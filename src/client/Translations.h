#pragma once

#include "machineservice_export.h"

class QLocale;

namespace MachineService {

/// Lets the application show the library's texts in the locale's language.
///
/// The library changes nothing of the host by itself: a host that wants more than English calls this once, before it
/// makes the client, and again when its user changes the language; commands that exist by then keep their titles until
/// they are made anew. The first language that the locale asks for and that the library speaks is taken.
///
/// \return whether a translation was installed. False means that the texts are English from here on, because that is
/// what the locale asks for or because the library speaks none of its languages.
///
/// Thread: UI thread.
/// Ownership: the translator belongs to the QCoreApplication; without one nothing is done.
MACHINESERVICE_EXPORT bool InstallTranslations(const QLocale& i_locale);

} // namespace MachineService
