#include "commands/ExecutionFixture.h"

#include "commands/ConfigurationCommands.h"
#include "commands/PrinterCommand.h"

#include "vexlorui/CommandsContainer.h"

#include <boost/uuid/uuid_io.hpp>

#include <QDesktopServices>
#include <QUrl>

#include <algorithm>

namespace MachineService {
namespace {

using TavAM::Representation;
using ::testing::ElementsAre;

TEST_F(CommandExecution, FormatDecidesWhatGoesToTheMachineAndWhatIsLoaded)
{
    const std::string saved[] = {"1 .TavAMX", "2 .TavAMX", "3 .TavAMX", "4 .TavAMX",
                                 "5 .TavAMX", "6 .xml",    "7 .xml",    "8 .xml"};
    for (int format = 1; format <= 8; ++format) {
        SCOPED_TRACE(format);
        _provider.log.clear();
        _script->run = [](const CommandParameters& i_parameters) {
            EXPECT_TRUE(std::filesystem::exists(i_parameters.inputFile));
            EXPECT_NE(i_parameters.inputFile.parent_path(), i_parameters.outputDir);
            i_parameters.onProgress(250, "slicing");
            return Leave({"b.tavamx", "a.txt"})(i_parameters);
        };
        EXPECT_TRUE(_Submit(CommandType::Build, format));
        EXPECT_THAT(_provider.log, ElementsAre("job Build", "save " + saved[format - 1],
                                               format <= 5 ? "load " + std::to_string(format) + " b.tavamx"
                                                           : std::string("open a.txt b.tavamx")));
        EXPECT_EQ(std::make_pair(100, std::string("slicing")), _provider.progress.back());
        EXPECT_TRUE(_TempIsEmpty());
    }
    // The machine may tell that it made something else, or nothing.
    CommandResult result;
    result.dataFormat = DataFormat::AdditionalParts;
    _script->run = Leave({"supports.STL", "a.txt"}, result);
    EXPECT_TRUE(_Submit());
    EXPECT_EQ("load 5 supports.STL", _provider.log.back());
    for (const auto& [format, load] :
         {std::pair(DataFormat::Document, "open a.txt"), {DataFormat::None, "save 1 .TavAMX"}}) {
        result.dataFormat = format;
        _script->run = Leave({"a.txt"}, result);
        EXPECT_TRUE(_Submit());
        EXPECT_EQ(load, _provider.log.back());
    }
    EXPECT_TRUE(_messages.empty());
}

TEST_F(CommandExecution, JobIsNamedAfterTheScenesFileAndCarriesItsParts)
{
    auto part = TestSupport::MakePart({});
    part.SetHasSupports(true);
    part.SetStrategies(TavAM::Part::Strategies{{L"part", L"fine"}});
    _scene->GetParts() = {TestSupport::MakePart({}), part};
    const std::pair<const wchar_t*, const char*> names[] = {{L"/x/bracket.final.stl", "bracket.final"},
                                                            {L"/x.y/bracket", "bracket"},
                                                            {L"/x/\u6a5f\u68b0.stl", "\u6a5f\u68b0"},
                                                            {L"", "Untitled"}};
    CommandParameters seen;
    _script->run = [&](const CommandParameters& i_parameters) {
        seen = i_parameters;
        return MakeReady(CommandResult());
    };
    for (const auto& [file, name] : names) {
        _scene->SetFileName(file);
        EXPECT_TRUE(_Submit());
        EXPECT_EQ(name, seen.jobName);
    }
    ASSERT_EQ(1u, seen.parts.size()) << "parts without strategies are skipped";
    EXPECT_EQ(boost::uuids::to_string(part.GetRevisionId()), seen.parts[0].globalId);
    EXPECT_TRUE(seen.parts[0].hasSupports);
    EXPECT_THAT(seen.parts[0].strategies, ElementsAre(std::pair<std::string, std::string>("part", "fine")));
}

TEST_F(CommandExecution, SubmissionToTheMachineManagerIsConfirmedAndPurged)
{
    _script->data.serviceId = ServiceId::MachineManager;
    auto& operations = *_host.application.GetOperationManager();
    const auto record = [&] {
        operations.Execute(L"sent", 0, [] {});
    };
    _scene->SetFileName(L"job.stl");
    for (const auto& [type, asked] : {std::pair(CommandType::Build, "confirm Print3D.PostJob job"),
                                      {CommandType::PostJob, "confirm Print3D.PostJob job"},
                                      {CommandType::CreateJobUrl, "confirm Print3D.CreateJobUrl job"}}) {
        _provider.log.clear();
        record();
        EXPECT_TRUE(_Submit(type));
        EXPECT_THAT(_provider.log, ElementsAre(asked, "job Creating a job in the Machine Manager", "save 1 .TavAMX"));
        EXPECT_TRUE(operations.GetHistory().empty());
    }
    record();
    _provider.confirms = false;
    EXPECT_FALSE(_Submit());
    EXPECT_TRUE(_messages.empty());
    EXPECT_EQ(1u, operations.GetHistory().size()) << "a refusal purges nothing";
    _provider.confirms = true;
    _provider.onStart = [] {
        throw std::runtime_error("Another command is still running.");
    };
    EXPECT_FALSE(_Submit());
    EXPECT_EQ(1u, operations.GetHistory().size()) << "nothing was run";
    _messages.clear();
    _provider.onStart = nullptr;
    _provider.onSave = [] {
        throw std::runtime_error("failed");
    };
    EXPECT_FALSE(_Submit());
    EXPECT_TRUE(operations.GetHistory().empty());
    record();
    _script->data.serviceId = ServiceId::BuildProcessors;
    _provider.onSave = nullptr;
    EXPECT_TRUE(_Submit());
    EXPECT_EQ(1u, operations.GetHistory().size());
}

class UrlReceiver : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> urls;
    UrlReceiver()
    {
        for (const char* scheme : {"http", "https", "file"})
            QDesktopServices::setUrlHandler(QLatin1String(scheme), this, "Receive");
    }

public Q_SLOTS:
    void Receive(const QUrl& i_url) { urls.append(i_url); }
};

TEST_F(CommandExecution, PlatformSentOffersTheJobListOfTheWebOnly)
{
    UrlReceiver desktop;
    CommandResult result;
    result.secondStatus = SubmissionSent;
    result.jobList = {"https", "jobs.example:8080", "a b/%41?", "q=\u00e4#&x=1", "frag ment"};
    _script->run = [&](const CommandParameters& i_parameters) {
        return Leave({}, result)(i_parameters);
    };
    EXPECT_TRUE(_Submit());
    EXPECT_TRUE(_messages.empty()) << "only the Machine Manager's jobs are told";

    _script->data.serviceId = ServiceId::MachineManager;
    EXPECT_TRUE(_Submit());
    ASSERT_EQ(1u, _messages.size());
    EXPECT_EQ(Vexlor::Message::Kind::Information, _messages[0].kind);
    EXPECT_EQ(QStringLiteral("Platform sent"), _messages[0].title);
    EXPECT_EQ(QStringLiteral("The platform was successfully sent to processing."), _messages[0].text);
    EXPECT_EQ((QStringList{QStringLiteral("OPEN JOB LIST"), QStringLiteral("OK")}), _messages[0].buttons);
    EXPECT_TRUE(desktop.urls.isEmpty());

    _answer = 0;
    EXPECT_TRUE(_Submit());
    ASSERT_EQ(1, desktop.urls.size());
    EXPECT_EQ("https://jobs.example:8080/a%20b/%2541%3F?q=%C3%A4%23&x=1#frag%20ment",
              desktop.urls[0].toEncoded().toStdString());

    for (const JobListAddress& address :
         {JobListAddress{"file", "", "/etc/passwd", "", ""}, JobListAddress{"file", "host", "/etc/passwd", "", ""},
          JobListAddress{"javascript", "x", "/alert", "", ""}, JobListAddress{"https", "", "/x", "", ""},
          JobListAddress{"http", "h:99999", "/x", "", ""}}) {
        _messages.clear();
        result.jobList = address;
        EXPECT_TRUE(_Submit()) << "the job was sent all the same";
        ASSERT_EQ(2u, _messages.size());
        EXPECT_EQ(Vexlor::Message::Kind::Critical, _messages[1].kind);
        EXPECT_TRUE(_messages[1].text.startsWith(QLatin1String("Cannot open url: "))) << address.scheme;
    }
    EXPECT_EQ(1, desktop.urls.size());
}

TEST_F(CommandExecution, SceneClosedMeanwhileIsOneMessage)
{
    _script->run = [this](const CommandParameters& i_parameters) {
        VexlorCore::UiThread::Invoke([this] { _host.application.GetDatabase()->CloseDataSet(_scene); });
        return Leave({"a.TavAMX"})(i_parameters);
    };
    EXPECT_FALSE(_Submit());
    _ExpectOneFailure("The scene was closed.");

    _messages.clear();
    _scene = _host.application.GetDatabase()->CreateDataSet();
    _script->data.serviceId = ServiceId::MachineManager;
    _provider.onConfirm = [this] {
        _host.application.GetDatabase()->CloseDataSet(_scene);
    };
    EXPECT_FALSE(_Submit());
    _ExpectOneFailure("The scene was closed.");
}

TEST_F(CommandExecution, SecondCommandIsRefusedAndTheFirstGoesOnAlsoWithoutItsButton)
{
    const QString id = QStringLiteral("id");
    Vexlor::UICommands::CommandsContainer<PrinterCommand> ribbon;
    ribbon.Add(std::make_shared<PrinterCommand>(
        id, QStringList(), QString(), [this] { return _Submit(); }, nullptr));
    bool second = true;
    _script->run = [&](const CommandParameters& i_parameters) {
        VexlorCore::UiThread::Invoke([&] {
            ribbon.Remove({id});
            // The first one's folders are still there, so the handler of the fixture does not fit.
            Vexlor::MessageDialogs::SetHandler([this](const Vexlor::Message& i_message) {
                _messages.push_back(i_message);
                return 0;
            });
            second = _Submit(CommandType::ConfigurePrinter);
            _scene->SetSelection({i_parameters.commandId});
        });
        return Leave({"a.TavAMX"})(i_parameters);
    };
    EXPECT_TRUE(ribbon.GetCommand(id)->Exec());
    EXPECT_FALSE(ribbon.GetCommand(id));
    EXPECT_FALSE(second);
    _ExpectOneFailure("Another command is still running.");
    EXPECT_THAT(_provider.log, ElementsAre("job Build", "save 1 .TavAMX", "load 1 a.TavAMX", "update"))
        << "the first one still hears that the selection changed";
}

TEST_F(CommandExecution, ExportCheckRefusesWhatTheMachineDoesNotTake)
{
    const auto mesh = TestSupport::MakePart({}).GetRepresentation();
    const auto composed = [](Representation i_member) {
        return Representation::FromMembers({std::move(i_member)});
    };
    const auto implicit = Representation::FromImplicit("i");
    const auto brep = Representation::FromBrep("b");
    // Passes for a machine that takes: nothing special, implicit data, composed parts, both.
    const std::tuple<Representation, std::string> rows[] = {
        {mesh, "1111"},           {implicit, "0101"},
        {composed(mesh), "0011"}, {composed(composed(implicit)), "0001"},
        {brep, "0000"},           {composed(composed(brep)), "0000"},
    };
    for (const auto& [representation, passes] : rows)
        for (int takes = 0; takes < 4; ++takes) {
            SCOPED_TRACE(std::to_string(&representation - &std::get<0>(rows[0])) + "/" + std::to_string(takes));
            _script->data.acceptsImplicitData = takes & 1;
            _script->data.acceptsComposedParts = takes & 2;
            _scene->GetParts() = {TavAM::Part(), TavAM::Part()};
            _scene->GetParts()[0].SetRepresentation(mesh);
            _scene->GetParts()[1].SetRepresentation(representation);
            _messages.clear();
            _provider.log.clear();
            const bool passed = passes[static_cast<std::size_t>(takes)] == '1';
            EXPECT_EQ(passed, _Submit());
            EXPECT_EQ(passed, !_provider.log.empty()) << "the machine must not be asked after a refusal";
            if (!passed)
                _ExpectOneFailure("Some data on the platform can't be exported to the current machine. To be able to "
                                  "export, make the following changes:\n - Convert implicit data to mesh\n - Convert "
                                  "BREP data to mesh\n - Split composed parts\n - or change to a build processor that "
                                  "supports your data");
        }
}

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

class CommandsByKind : public CommandExecution
{
protected:
    CommandsByKind()
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

    static std::vector<VexlorCore::Statistic::Trace> _MakeTraces(const KindRow& i_row)
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
        VexlorCore::Statistic::Clear();
        _provider.log.clear();
        _messages.clear();
        _scene->GetParts().clear();
        EXPECT_TRUE(i_run());
        EXPECT_EQ(i_row.process, _seen.processName);
        EXPECT_EQ(std::string("job ") + i_row.title, _provider.log.at(0));
        EXPECT_EQ(i_row.passesText ? "at click \u00e4" : "", _seen.callerContext);
        EXPECT_EQ(_MakeTraces(i_row), VexlorCore::Statistic::GetTraces());

        _scene->GetParts() = {TavAM::Part()};
        _scene->GetParts()[0].SetRepresentation(Representation::FromBrep("b"));
        EXPECT_EQ(!i_row.checks, i_run());
        EXPECT_EQ(i_row.checks ? 1u : 0u, _messages.size());
    }

    CommandParameters _seen;
};

TEST_F(CommandsByKind, EachHasItsTracesCheckAndProcessName)
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

TEST_F(CommandsByKind, OperationsThatAreCalledByNameDoNotAskTheDescriptionsKind)
{
    using Operation = bool (*)(const CommandDescription&, const Machine&, const Helpers::ApiProviderGetter&,
                               const Helpers::DataSetGetter&);
    const CommandDescription build = Describe(CommandType::Build);
    for (const auto& [type, operation] :
         {std::pair<CommandType, Operation>(CommandType::ConfigureParts, Helpers::ConfigurePart),
          {CommandType::ConfigurePlatform, Helpers::ConfigurePlatform}}) {
        const auto is_row = [wanted = type](const KindRow& i_row) {
            return i_row.type == wanted;
        };
        const auto run = [&, call = operation] {
            return call(build, _MakeMachine(), _getProvider, _getScene);
        };
        _ExpectRun(*std::ranges::find_if(mgp_kinds, is_row), run);
    }
    _ExpectRun(mgp_kinds[8], [&] {
        return Helpers::DynamicPrinterCommand(build, _MakeMachine(), _getProvider, _getScene, _getText);
    });
}

TEST_F(CommandsByKind, ReportIsFilledWithoutTraceAndCheckAndTellsItsFailure)
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
} // namespace MachineService

#include "CommandExecutionTest.moc"
