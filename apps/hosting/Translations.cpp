#include "hosting/Translations.h"

#include "client/Translations.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

#include <memory>

// Without a use the linker drops the resource from a static library. The macro must not stand in a namespace.
static void KeepResource()
{
    Q_INIT_RESOURCE(hosting_translations);
}

namespace Hosting {

void InstallTranslations(const QString& i_program)
{
    KeepResource();
    // The library decides which of the user's languages is taken, and whether any is.
    const QLocale locale = QLocale::system();
    if (!MachineService::InstallTranslations(locale))
        return;
    for (const QString& name : {QStringLiteral("hosting"), i_program}) {
        auto translator = std::make_unique<QTranslator>(QCoreApplication::instance());
        if (translator->load(locale, name, QStringLiteral("_"), QStringLiteral(":/%1/translations").arg(name)))
            QCoreApplication::installTranslator(translator.release());
    }
}

} // namespace Hosting
