#include "commands/PrinterCommandCatalog.h"

#include "commands/CommandInsertHint.h"
#include "commands/CommandNames.h"
#include "commands/CommandsFixture.h"

#include "vexlorui/UpdatableContext.h"

#include <QBuffer>
#include <QImage>
#include <QStandardItemModel>

namespace {

using namespace TestSupport;

struct Content final : Vexlor::UICommands::UpdatableContext
{
    int which = 0; // 0 nothing, 1 parts, 2 slices, 3 hybrid core parts
    bool HasPartsOnActiveDataSet() const override { return which == 1; }
    bool HasSlicesOnActiveDataSet() const override { return which == 2; }
    bool HasHybridCorePartsOnActiveDataSet() const override { return which == 3; }
};

std::vector<std::uint8_t> MakePng(int i_width)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImage image(i_width, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    image.save(&buffer, "png");
    return {bytes.begin(), bytes.end()};
}

class PrinterCommandCatalogTest : public CommandsFixture
{
protected:
    CommandDescription& _Offer(int i_kind)
    {
        CommandDescription description;
        description.type = static_cast<CommandType>(i_kind);
        description.id.data[15] = static_cast<std::uint8_t>(i_kind);
        description.name = "own name";
        description.description = "own words";
        return _script->commands.emplace_back(description);
    }

    std::vector<std::unique_ptr<PrinterCommand>> _Create()
    {
        return CreatePrinterCommands(_MakeMachine(), _MakeHost());
    }
};

TEST_F(PrinterCommandCatalogTest, KindDecidesNameTextsIconAndEnabling)
{
    struct Row
    {
        int kind;
        const char* name;
        const char* title;
        const char* toolTip;
        bool needsContent, asksMachine, ownIcon;
    };
    const char* const buildTip = "Send the active platform to the machine.";
    const char* const additional = "Print3D.AdditionalCommand_00000000-0000-0000-0000-00000000000";
    const Row rows[] = {
        {0, additional, "own name", "own words", false, true, true},
        {1, "Print3D.Print", "Build", buildTip, true, false, false},
        {2, "Print3D.ConfigurePrinter", "Configure Printer", "Configure settings of the printer.", false, true, false},
        {3, "Print3D.ConfigurPlatform", "Configure Platform",
         "Configure platform settings related to the build processor.", false, true, true},
        {4, "Print3D.ConfigureParts", "Configure Parts", "Configure parts' settings related to the build processor.",
         true, true, true},
        {5, additional, "own name", "own words", false, true, true},
        {6, additional, "own name", "own words", false, true, true},
        {7, "Print3D.PrintConsumptionEstimations", "Build Consumption Estimations", "Build Consumption Estimations.",
         true, true, true},
        {8, "Print3D.AutomaticPlacement", "Automatic Placement",
         "2D placement of parts on the platform according to user-defined parameters.", true, true, true},
        {9, "Print3D.PostJob", "Build", "Send a ready job for processing in Machine Manager.", true, false, true},
        {10, "Print3D.CreateJobUrl", "Create Job", "Send a draft job to Machine Manager for further configuration.",
         true, false, true},
    };
    _Offer(11);
    for (const Row& row : rows)
        _Offer(row.kind).icon = MakePng(16);
    const auto commands = _Create();
    ASSERT_EQ(std::size(rows), commands.size()) << "kind 11 is skipped, the others are kept in their order";

    std::promise<bool> never;
    for (std::size_t index = 0; index < commands.size(); ++index) {
        const Row& row = rows[index];
        SCOPED_TRACE(row.kind);
        PrinterCommand& command = *commands[index];
        const bool dynamic = row.name == additional;
        EXPECT_EQ(row.name + (dynamic ? std::to_string(row.kind) : ""), command.GetId().toStdString());
        EXPECT_EQ(row.title, command.GetTitle().toStdString());
        EXPECT_EQ(row.toolTip, command.GetToolTip().toStdString());
        EXPECT_EQ(command.GetToolTip(), command.GetStatusTip());
        EXPECT_EQ(row.ownIcon, !command.GetIcon().isNull());
        EXPECT_EQ(QStringList{QStringLiteral("AM")}, command.GetLayouts());
        EXPECT_EQ(QStringLiteral("MultiPlatform.BuildProcessors"), command.GetContext());
        EXPECT_FALSE(command.IsCustomizable());

        const auto isEnabled = [&](int i_content) {
            Content content;
            content.which = i_content;
            command.Update(content);
            return command.IsEnabled();
        };
        for (int content = 0; content < 4; ++content)
            EXPECT_EQ(content != 0 || !row.needsContent, isEnabled(content)) << content;
        _host.application.GetSettings().SetDisableBuildButton(true);
        EXPECT_EQ(row.asksMachine, isEnabled(1));
        _host.application.GetSettings().SetDisableBuildButton(false);
        const std::function<std::future<bool>()> refusals[] = {[] { return MakeReady(false); },
                                                               [] { return std::future<bool>(); },
                                                               [&] { return (never = {}).get_future(); },
                                                               []() -> std::future<bool> {
                                                                   throw CommunicationException(ErrorCode::QueueError);
                                                               }};
        for (const auto& refusal : refusals) {
            _script->canRun = [&](const auto&) {
                return refusal();
            };
            EXPECT_EQ(!row.asksMachine, isEnabled(1));
        }
        _script->canRun = [](const auto&) {
            return MakeReady(true);
        };
    }
}

TEST_F(PrinterCommandCatalogTest, TellsConnectionsAndListsThatAreNotThere)
{
    _script->data.configuresConnection = true;
    _Offer(2);
    const auto commands = _Create();
    EXPECT_EQ(QStringLiteral("Print3D.ConfigureConnection"), commands.at(0)->GetId());
    EXPECT_EQ(QStringLiteral("Configure Connection"), commands.at(0)->GetTitle());
    EXPECT_EQ(QStringLiteral("Configure the connection to the Build Processor."), commands.at(0)->GetToolTip());

    std::promise<std::vector<CommandDescription>> never;
    _script->getCommands = [&] {
        return never.get_future();
    };
    EXPECT_TRUE(_Create().empty());
    _script->getCommands = [] {
        return std::future<std::vector<CommandDescription>>();
    };
    EXPECT_TRUE(_Create().empty());
}

TEST_F(PrinterCommandCatalogTest, HostileTextsAreBoundedAndACommandStaysWithoutItsIcon)
{
    _Offer(0).icon = {'n', 'o'};
    _script->commands[0].name = std::string(3, 'x') + std::string(5'000'000, '\xC3');
    _script->commands[0].description = std::string(10'000'000, 'x');
    const auto commands = _Create();
    ASSERT_EQ(1u, commands.size());
    EXPECT_TRUE(commands[0]->GetIcon().isNull());
    EXPECT_LE(commands[0]->GetTitle().size(), 80);
    EXPECT_LE(commands[0]->GetToolTip().size(), 1000);
}

TEST(CommandInsertHint, PutsConfigurationFirstAndBuildLast)
{
    QStandardItemModel ribbon;
    auto* page = new QStandardItem();
    ribbon.appendRow(page);
    const auto hint = [&](const char* ip_name, const QModelIndex& i_target) {
        return BPCommandInsertHint(QLatin1String(ip_name), i_target);
    };
    EXPECT_FALSE(hint(BPCommandNameBuild, QModelIndex()));
    auto made = hint(BPCommandNameBuild, page->index());
    EXPECT_EQ(1, made->createGroup);
    EXPECT_EQ(0, made->position);

    auto* group = new QStandardItem();
    page->appendRow(group);
    const auto positions = [&] {
        std::vector<int> all;
        for (const char* name : {BPCommandNameConfigure, BPCommandNameConfigureConnection, BPCommandNameBuild,
                                 BPCommandNameAutomaticPlacement}) {
            const auto result = hint(name, page->index());
            EXPECT_EQ(0, result->groupIndex + result->createGroup + result->flags);
            EXPECT_TRUE(result->groupName.isEmpty());
            all.push_back(result->position);
        }
        return all;
    };
    EXPECT_EQ((std::vector{0, 0, 0, 0}), positions());
    for (const char* name : {BPCommandNameConfigureParts, BPCommandNamePostJob}) {
        auto* item = new QStandardItem();
        item->setData(QLatin1String(name), 256);
        group->appendRow(item);
    }
    EXPECT_EQ((std::vector{0, 0, 2, 2}), positions());
    group->child(1)->setData(QLatin1String(BPCommandNameBuild), 256);
    EXPECT_EQ((std::vector{0, 0, 2, 1}), positions());
}

} // namespace
