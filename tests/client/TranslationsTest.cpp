#include "client/Translations.h"

#include "client/interface/MachineData.h"
#include "commands/CommandTexts.h"
#include "commands/ExportCheck.h"
#include "commands/JobListDialog.h"
#include "platform/ErrorMessages.h"
#include "support/HostFixture.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

using namespace MachineService;
namespace {

class Translations : public TestSupport::HostFixture
{
protected:
    ~Translations() override { InstallTranslations(QLocale::c()); }

    /// Everything with a fixed text that a command can show: titles, tooltips, failures, messages.
    QStringList _CollectTexts()
    {
        QStringList texts;
        for (int kind = 0; kind <= 10; ++kind)
            for (const bool connection : {false, true}) {
                CommandDescription description;
                description.type = static_cast<CommandType>(kind);
                MachineData data;
                data.configuresConnection = connection;
                // The machine's own commands bring texts of their own, here none.
                texts << GetCommandTitle(description, data) << GetCommandToolTip(description, data);
            }
        for (const auto& [code, text] : ErrorMessageTable) {
            CommandResult result;
            result.status = code;
            texts << QString::fromStdString(GetResultErrorMessage(result));
        }

        auto part = TestSupport::MakePart(L"part");
        part.SetRepresentation(TavAM::Representation::FromBrep("b"));
        _host.scene->GetParts() = {part};
        EXPECT_FALSE(Helpers::CheckExport(MachineData(), _host.GetProviderGetter()));
        Helpers::ShowPlatformSent(JobListAddress(), _host.provider);
        for (const auto& message : _host.messages.GetMessages()) {
            texts << message.title << message.text;
            if (message.buttons.size() > 1)
                texts << message.buttons.front();
        }
        _host.messages.Clear();
        texts.removeAll(QString());
        return texts;
    }
};

TEST_F(Translations, EveryTextIsGermanOnceInstalledAndEnglishBeforeAndAfter)
{
    const QStringList english = _CollectTexts();
    ASSERT_TRUE(InstallTranslations(QLocale(QStringLiteral("de_DE"))));
    const QStringList german = _CollectTexts();
    ASSERT_EQ(english.size(), german.size());
    ASSERT_GE(english.size(), 2 * 9 + static_cast<int>(ErrorMessageTable.size()) + 4);
    for (int index = 0; index < english.size(); ++index)
        EXPECT_NE(english[index].toStdString(), german[index].toStdString());

    const std::pair<const char*, const char*> rows[] = {
        {"Build", "Bauen"},
        {"Configure Connection", "Verbindung konfigurieren"},
        {"Send the active platform to the machine.", "Aktive Plattform an die Maschine senden."},
        {"Job processing was aborted.", "Die Verarbeitung des Auftrags wurde abgebrochen."},
        {"Platform sent", "Plattform gesendet"},
        {"The platform was successfully sent to processing.",
         "Die Plattform wurde erfolgreich zur Verarbeitung gesendet."},
        {"OPEN JOB LIST", "AUFTRAGSLISTE \u00d6FFNEN"},
        {"Some data on the platform can't be exported to the current machine. To be able to export, make the following "
         "changes:\n - Convert implicit data to mesh\n - Convert BREP data to mesh\n - Split composed parts\n - or "
         "change to a build processor that supports your data",
         "Einige Daten auf der Plattform k\u00f6nnen nicht f\u00fcr die aktuelle Maschine exportiert werden. Nehmen "
         "Sie "
         "die folgenden \u00c4nderungen vor, um exportieren zu k\u00f6nnen:\n - Implizite Daten in Netze umwandeln\n - "
         "BREP-Daten in Netze umwandeln\n - Zusammengesetzte Teile aufteilen\n - oder zu einem Build Processor "
         "wechseln, der Ihre Daten unterst\u00fctzt"},
    };
    for (const auto& [source, translation] : rows)
        EXPECT_EQ(translation, german.value(english.indexOf(QString::fromUtf8(source))).toStdString()) << source;

    EXPECT_FALSE(InstallTranslations(QLocale(QStringLiteral("en_GB"))));
    EXPECT_EQ(english.join(QLatin1Char('\n')).toStdString(), _CollectTexts().join(QLatin1Char('\n')).toStdString());
}

TEST_F(Translations, OneTranslatorAtMostServesTheLanguageOfTheLocale)
{
    const std::pair<QLocale, bool> rows[] = {
        {QLocale(QStringLiteral("de")), true},
        {QLocale(QStringLiteral("de_AT")), true},
        {QLocale(QStringLiteral("fr_FR")), false},
        {QLocale(QStringLiteral("de_CH")), true},
        {QLocale(QStringLiteral("en_US")), false},
        {QLocale(QStringLiteral("de_LU")), true},
        {QLocale::c(), false},
    };
    for (const auto& [locale, spoken] : rows) {
        EXPECT_EQ(spoken, InstallTranslations(locale)) << locale.name().toStdString();
        const auto translators = QCoreApplication::instance()->findChildren<QTranslator*>();
        EXPECT_EQ(spoken ? 1 : 0, translators.size()) << locale.name().toStdString();
    }
}

} // namespace
