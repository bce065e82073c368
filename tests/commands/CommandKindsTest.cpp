#include "commands/CommandsFixture.h"

#include "commands/ConfigurationCommands.h"

namespace {

using namespace TestSupport;
using VexlorCore::Statistic;

struct KindRow
{
    CommandType type;
    const char* usage; ///< null: not counted
    const char* machine;
    const char* process;
    const char* title;
    bool checks = true;
    bool passesText = false;
};

const KindRow mgp_kinds[] = {
    {CommandType::Build, "Build", "Build", "VexlorProcess", "Build"},
    {CommandType::PostJob, "Build", "Build", "VexlorProcess", "Build"},
    {CommandType::CreateJobUrl, "Build", "Build", "VexlorProcess", "Create Job"},
    {CommandType::AutomaticPlacement, "Automatic placement", "Autoplacement", "VexlorPlaceAutomatically",
     "Automatic Placement"},
    {CommandType::ConsumptionEstimations, nullptr, nullptr, "VexlorEstimatePrintConsumptions",
     "Build Consumption Estimations"},
    {CommandType::ConfigureParts, "Configure parts", "Configure parts", "VexlorConfigureParts", "Own name"},
    {CommandType::ConfigurePlatform, "Configure platform", "ConfigurePlatform", "VexlorConfigurePlatform", "Own name"},
    {CommandType::ConfigurePrinter, "Configure platform", "ConfigurePlatform", "VexlorProcess", "Own name", false},
    {CommandType::Additional, "Additional command", "Additional commands", "VexlorProcess", "Own name", true, true},
    {CommandType::AdditionalForParts, "Additional command", "Additional commands", "VexlorProcess", "Own name", true,
     true},
    {CommandType::AdditionalForPlatform, "Additional command", "Additional commands", "VexlorProcess", "Own name", true,
     true},
};

class CommandKindsTest : public CommandsFixture
{
protected:
    CommandKindsTest()
    {
        _script->data.modelId = "model";
        _script->data.manufacturer = "maker";
        _script->data.driverId = "driver";
        _script->run = _script->fillReport = [this](const CommandParameters& i_parameters) {
            _seen = i_parameters;
            return MakeReady(CommandResult());
        };
        _getText = [] {
            return QStringLiteral("at click \u00e4");
        };
    }

    static std::vector<Statistic::Trace> _MakeTraces(const KindRow& i_row)
    {
        if (!i_row.usage)
            return {};
        return {{"BuildProcessorsUsage", "Information", i_row.usage, {}},
                {"BuildProcessors",
                 "Information",
                 i_row.machine,
                 {{"BuildProcessors.ModelId", "model"},
                  {"BuildProcessors.Manufacturer", "maker"},
                  {"BuildProcessors.DriverId", "driver"}}}};
    }

    void _ExpectRun(const KindRow& i_row, const std::function<bool()>& i_run)
    {
        Statistic::Clear();
        _ForgetAll();
        _scene->GetParts().clear();
        EXPECT_TRUE(i_run());
        EXPECT_EQ(i_row.process, _seen.processName);
        EXPECT_EQ(std::string("job ") + i_row.title, _provider.log.at(0));
        EXPECT_EQ(i_row.passesText ? "at click \u00e4" : "", _seen.callerContext);
        EXPECT_EQ(_MakeTraces(i_row), Statistic::GetTraces());

        _scene->GetParts() = {TavAM::Part()};
        _scene->GetParts()[0].SetRepresentation(TavAM::Representation::FromBrep("b"));
        EXPECT_EQ(!i_row.checks, i_run());
        EXPECT_EQ(i_row.checks ? 1u : 0u, _messages.size());
    }

    CommandParameters _seen;
};

TEST_F(CommandKindsTest, EachHasItsTracesCheckAndProcessName)
{
    for (const KindRow& row : mgp_kinds) {
        SCOPED_TRACE(static_cast<int>(row.type));
        _ExpectRun(row, [&] { return _Submit(row.type); });
        EXPECT_EQ(Describe(row.type).id, _seen.commandId);
    }
    _messages.clear();
    EXPECT_FALSE(_Submit(static_cast<CommandType>(11))) << "an unknown kind does nothing";
    EXPECT_TRUE(_messages.empty());
}

TEST_F(CommandKindsTest, OperationsThatAreCalledByNameDoNotAskTheDescriptionsKind)
{
    const CommandDescription build = Describe(CommandType::Build);
    _ExpectRun(mgp_kinds[5], [&] { return Helpers::ConfigurePart(build, _MakeMachine(), _getProvider, _getScene); });
    _ExpectRun(mgp_kinds[6],
               [&] { return Helpers::ConfigurePlatform(build, _MakeMachine(), _getProvider, _getScene); });
    _ExpectRun(mgp_kinds[8], [&] {
        return Helpers::DynamicPrinterCommand(build, _MakeMachine(), _getProvider, _getScene, _getText);
    });
}

TEST_F(CommandKindsTest, ReportIsFilledWithoutTraceAndCheckAndTellsItsFailure)
{
    const auto fill = [this] {
        return Helpers::FillReportProperties(_MakeMachine(), _getProvider, _getScene);
    };
    _ExpectRun({{}, nullptr, nullptr, "VexlorDocGenProperties", "Report Properties", false}, fill);
    EXPECT_TRUE(_seen.commandId.is_nil());
    _script->fillReport = [](const CommandParameters&) {
        return MakeFailed<CommandResult>(
            std::make_exception_ptr(CommunicationException(ErrorCode::ReportNotSupported)));
    };
    EXPECT_FALSE(fill());
    _ExpectOneFailure("The Build Process doesn't support report generation");
}

} // namespace
