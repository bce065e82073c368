#include "apps/workbench/WorkbenchFixture.h"
#include "workbench/platform/NewPlatformDialog.h"

#include "platform/IPlatformCreator.h"

#include <QComboBox>
#include <QLabel>

namespace {

using namespace Workbench;
using TestSupport::WaitFor;

class NewPlatformTest : public TestSupport::WorkbenchFixture
{};

PlatformForm MakeForm()
{
    PlatformForm form;
    form.machine = QStringLiteral("M");
    form.comment = QStringLiteral("<b>words</b>");
    form.choices = {{QStringLiteral("a"),
                     QStringLiteral("Material"),
                     true,
                     {{QStringLiteral("1"), QStringLiteral("one")}, {QStringLiteral("2"), QStringLiteral("two")}},
                     {}},
                    {QStringLiteral("b"),
                     QStringLiteral("Plate"),
                     false,
                     {{QStringLiteral("1"), QStringLiteral("one"), true}},
                     QStringLiteral("1")}};
    return form;
}

TEST_F(NewPlatformTest, StaysOpenWithItsValuesUntilThePlatformIsMade)
{
    QStringList answers{QStringLiteral("The machine says no."), QString()};
    std::vector<QMap<QString, QString>> made;
    NewPlatformDialog dialog(
        MakeForm(), 3,
        [&](const PlatformForm& i_form, NewPlatformDialog::Parts i_parts) {
            EXPECT_EQ(i_parts, NewPlatformDialog::Parts::Keep);
            made.push_back(i_form.GetChosen());
            return answers.takeFirst();
        },
        nullptr);
    dialog.show();
    const auto shows = [&](const char* ip_text) {
        const auto labels = dialog.findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel* ip_label) {
            return ip_label->isVisible() && ip_label->text() == QLatin1String(ip_text);
        });
    };
    EXPECT_TRUE(shows("<b>words</b>"));
    dialog.accept();
    EXPECT_TRUE(made.empty());
    EXPECT_TRUE(shows("Please choose: Material."));
    auto* const material = dialog.findChildren<QComboBox*>().front();
    EXPECT_EQ(material->accessibleName(), QStringLiteral("Material, required"));
    material->setCurrentIndex(2);
    dialog.accept();
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_TRUE(shows("The machine says no."));
    EXPECT_EQ(material->currentText(), QStringLiteral("two"));
    dialog.accept();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(made.back().value(QStringLiteral("a")), QStringLiteral("2"));
}

TEST_F(NewPlatformTest, ReadsARealMachinesChoicesAndRemembersThem)
{
    _host->GetClient().Start(MachineService::ServiceId::BuildProcessors);
    ASSERT_TRUE(WaitFor([this] { return _host->GetClient().GetMachines().size() >= 4; }));
    const auto machine = _host->GetClient().GetMachines().at(1);
    auto information = machine.GetPlatformInformation();
    std::wstring message;
    const auto creator =
        MachineService::TryCreatePlatformCreator(machine, information, _host->GetApiProviderGetter(), message);
    ASSERT_TRUE(creator);
    PlatformForm form = PlatformForm::Read(*creator);
    EXPECT_EQ(form.materials, QStringLiteral("PLA, PETG"));
    ASSERT_GE(form.choices.size(), 4U);
    EXPECT_TRUE(form.GetMissing().isEmpty());
    const QString material = form.choices[0].id;
    form.Remember({{material, QStringLiteral("PETG")}, {form.choices[1].id, QStringLiteral("no such height")}});
    EXPECT_EQ(form.GetChosen().value(material), QStringLiteral("PETG"));
    EXPECT_EQ(form.GetChosen().value(form.choices[1].id), QStringLiteral("0.2"));
}

} // namespace
