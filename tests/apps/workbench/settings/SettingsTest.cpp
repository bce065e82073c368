#include "support/Files.h"
#include "workbench/base/LengthText.h"
#include "workbench/base/LogKeeper.h"
#include "workbench/base/Preferences.h"
#include "workbench/settings/KeptResults.h"
#include "workbench/settings/SettingsDialog.h"
#include "workbench/settings/SupportReport.h"
#include "workbench/settings/SupportReportDialog.h"

#include "tavsdk/ZipReader.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLocale>
#include <QLoggingCategory>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

namespace {

using namespace Workbench;

class SettingsTest : public ::testing::Test
{
protected:
    std::filesystem::path _Path(const char* ip_name) const
    {
        return _dir.filePath(QLatin1String(ip_name)).toStdString();
    }

    QTemporaryDir _dir;
};

TEST_F(SettingsTest, ReportHidesWhoTheUserIsAndWhatIsSecret)
{
    SupportReport report(QStringLiteral("/home/anna"), QStringLiteral("anna"));
    report.Add(QStringLiteral("log.txt"),
               {QStringLiteral("cannot open /home/anna/parts/a.stl"),
                QStringLiteral("asked by anna@host, not by hannah"), QStringLiteral("Authorization: Bearer abc.def"),
                QStringLiteral("token=xyz next"), QStringLiteral("\"password\": \"p w\","),
                QStringLiteral("API-Key = 42"), QStringLiteral("https://anna:pw@host/x")});
    report.Add(QStringLiteral("failures.txt"), {});
    EXPECT_EQ(report.GetEntries()[0].second.toStdString(), "cannot open ~/parts/a.stl\n"
                                                           "asked by (user)@host, not by hannah\n"
                                                           "Authorization: Bearer (hidden)\n"
                                                           "token=(hidden) next\n"
                                                           "\"password\": (hidden),\n"
                                                           "API-Key = (hidden)\n"
                                                           "https://(hidden)@host/x\n");
    EXPECT_EQ(report.GetEntries()[1].second, QStringLiteral("none\n"));

    // The dialog shows it, then writes what it showed.
    SupportReportDialog dialog(report, nullptr);
    dialog.show();
    const QString file = _dir.filePath(QStringLiteral("report.zip"));
    dialog.Save(_dir.filePath(QStringLiteral("no/such/folder.zip")));
    const auto says = [&](const QString& i_text) {
        const auto labels = dialog.findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(),
                           [&](const QLabel* ip_label) { return ip_label->text().contains(i_text); });
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return says(QStringLiteral("cannot be written: No such file")); }));
    dialog.Save(file);
    ASSERT_TRUE(QTest::qWaitFor([&] { return says(QStringLiteral("Saved as")); }));
    TavSDK::ZipReader package(file.toStdString());
    EXPECT_EQ(package.ReadBytes("log.txt", 100000), report.GetEntries()[0].second.toStdString());
}

TEST_F(SettingsTest, KeptResultsAreMeasuredAndClearedAndNothingElse)
{
    const std::string hash(64, 'a');
    const auto folder = _Path("cache");
    std::filesystem::create_directory(folder);
    TestSupport::WriteFile(folder / (hash + ".txt"), "12345");
    TestSupport::WriteFile(folder / "mine.txt", "123");
    TestSupport::WriteFile(_Path("elsewhere"), "1");
    std::filesystem::create_symlink(_Path("elsewhere"), folder / (std::string(64, 'b') + ".bin"));
    EXPECT_EQ(KeptResults::Measure(folder, {}), 5U);
    EXPECT_EQ(KeptResults::Measure(_Path("none"), {}), 0U);

    Preferences preferences(_dir.filePath(QStringLiteral("a.ini")));
    SettingsDialog dialog(preferences, {_Path("profiles"), _Path("data"), folder}, nullptr);
    dialog.show();
    QPushButton* clear = nullptr;
    for (auto* const button : dialog.findChildren<QPushButton*>()) {
        if (button->accessibleName() == QLatin1String("Clear the kept results"))
            clear = button;
    }
    ASSERT_TRUE(clear);
    EXPECT_TRUE(QTest::qWaitFor([&] { return clear->isEnabled(); }));
    clear->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !std::filesystem::exists(folder / (hash + ".txt")); }));
    EXPECT_TRUE(std::filesystem::exists(folder / "mine.txt"));
    EXPECT_TRUE(std::filesystem::exists(_Path("elsewhere")));
}

TEST_F(SettingsTest, TakeEffectAtOnceAndStay)
{
    const QString file = _dir.filePath(QStringLiteral("a.ini"));
    {
        Preferences preferences(file);
        SettingsDialog dialog(preferences, {}, nullptr);
        auto* const lengths = dialog.findChild<QComboBox*>(QStringLiteral("lengths"));
        auto* const price = dialog.findChild<QDoubleSpinBox*>(QStringLiteral("price"));
        ASSERT_TRUE(lengths && price);
        lengths->setFocus();
        QTest::keyClick(lengths, Qt::Key_Down);
        Q_EMIT lengths->activated(1);
        price->setValue(24.5);
    }
    Preferences preferences(file);
    EXPECT_EQ(preferences.GetLengthUnit(), LengthUnit::Inch);
    EXPECT_EQ(preferences.GetPricePerKilogram(), 24.5);
    EXPECT_TRUE(preferences.Describe().contains(QStringLiteral("look/lengths = in")));
    // Damaged by hand.
    TestSupport::WriteFile(file.toStdString(), "[estimates]\npricePerKilogram=-3\n[look]\nlengths=@Invalid()\n");
    const Preferences damaged(file);
    EXPECT_EQ(damaged.GetPricePerKilogram(), 0);
    EXPECT_EQ(damaged.GetLengthUnit(), LengthUnit::Millimetre);
}

TEST_F(SettingsTest, LengthsAreShownInTheUnitAndLanguageOfTheMoment)
{
    QLocale::setDefault(QLocale(QLocale::German));
    EXPECT_EQ(LengthText::ShowBox(25.4, 10, 1, 1), QStringLiteral("25,4 × 10,0 × 1,0 mm"));
    LengthText::SetUnit(LengthUnit::Inch);
    EXPECT_EQ(LengthText::Show(25.4, 1), QStringLiteral("1,000 in"));
    EXPECT_EQ(LengthText::ShowVolume(true, 254, 254, 508), QStringLiteral("⌀ 10,00 × 20,00 in"));
    EXPECT_EQ(LengthText::ToMillimetres(2), 50.8);
    LengthText::SetUnit(LengthUnit::Millimetre);
    QLocale::setDefault(QLocale::c());
}

TEST_F(SettingsTest, LogKeepsItsLastLines)
{
    LogKeeper::Install();
    LogKeeper::Install(); // does not call itself
    LogKeeper::SetDetailed(false);
    const QLoggingCategory category("machineservice.test", QtDebugMsg);
    qCDebug(category, "only for finding a fault");
    qCWarning(category, "something is wrong");
    const QStringList lines = LogKeeper::GetLines();
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_TRUE(lines.back().contains(QLatin1String("something is wrong")));
    EXPECT_TRUE(lines.filter(QStringLiteral("only for finding")).isEmpty());
    LogKeeper::SetDetailed(true);
    qCDebug(category, "only for finding a fault");
    EXPECT_EQ(LogKeeper::GetLines().filter(QStringLiteral("only for finding")).size(), 1);
}

} // namespace
