#include "client/Translations.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

#include <memory>

// Without a use the linker drops the resource from a static library. The macro must not stand in a namespace.
static void KeepResource()
{
    Q_INIT_RESOURCE(machineservice_translations);
}

namespace MachineService {

namespace {

/// The texts in the sources are English; the C locale asks for no language at all.
bool IsEnglish(const QString& i_language)
{
    const QLocale::Language language = QLocale(i_language).language();
    return language == QLocale::English || language == QLocale::C;
}

bool Load(QTranslator& io_translator, const QLocale& i_locale)
{
    // Variables of the environment may name languages even where the locale is C, and tools ignore them there.
    if (i_locale.language() == QLocale::C)
        return false;
    for (QString language : i_locale.uiLanguages()) {
        if (IsEnglish(language))
            return false;
        language.replace(QLatin1Char('-'), QLatin1Char('_'));
        // Looks for de when there is no de_AT.
        if (io_translator.load(QLatin1String("machineservice_") + language,
                               QStringLiteral(":/machineservice/translations")))
            return true;
    }
    return false;
}

} // namespace

bool InstallTranslations(const QLocale& i_locale)
{
    QCoreApplication* const application = QCoreApplication::instance();
    if (!application)
        return false;
    KeepResource();
    const auto name = QStringLiteral("machineservice_translator");
    // A translator that dies takes itself out of the application.
    delete application->findChild<QTranslator*>(name, Qt::FindDirectChildrenOnly);

    auto translator = std::make_unique<QTranslator>();
    if (!Load(*translator, i_locale))
        return false;
    translator->setObjectName(name);
    translator->setParent(application);
    return QCoreApplication::installTranslator(translator.release());
}

} // namespace MachineService
