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
    InstallTranslations(i_program, QLocale::system());
}

void InstallTranslations(const QString& i_program, const QLocale& i_locale)
{
    KeepResource();
    const QString mark = QStringLiteral("hosting_translator");
    // A translator that dies takes itself out of the application.
    qDeleteAll(QCoreApplication::instance()->findChildren<QTranslator*>(mark, Qt::FindDirectChildrenOnly));
    // The library decides which of the user's languages is taken, and whether any is.
    if (!MachineService::InstallTranslations(i_locale))
        return;
    for (const QString& name : {QStringLiteral("hosting"), i_program}) {
        auto translator = std::make_unique<QTranslator>(QCoreApplication::instance());
        translator->setObjectName(mark);
        if (translator->load(i_locale, name, QStringLiteral("_"), QStringLiteral(":/%1/translations").arg(name)))
            QCoreApplication::installTranslator(translator.release());
    }
}

} // namespace Hosting
