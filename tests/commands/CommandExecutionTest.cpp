#include "commands/ExecutionFixture.h"

#include "commands/ConfigurationCommands.h"
#include "commands/PrinterCommand.h"

#include "vexlorui/CommandsContainer.h"

#include <boost/uuid/uuid_io.hpp>

#include <QDesktopServices>
#include <QUrl>

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
            second = Helpers::ConfigurePrinter(Describe(CommandType::ConfigurePrinter), _MakeMachine(), _getProvider,
                                               _getScene);
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

TEST_F(CommandExecution, EachCommandHasItsTracesCheckAndProcessName)
{
    using Operation = std::function<bool(const CommandDescription&, const Machine&, const Helpers::ApiProviderGetter&,
                                         const Helpers::DataSetGetter&)>;
    QString text = QStringLiteral("at creation");
    const Operation dynamic = [&](const auto& i_description, const auto& i_machine, const auto& i_api,
                                  const auto& i_scene) {
        return Helpers::DynamicPrinterCommand(i_description, i_machine, i_api, i_scene, [&] { return text; });
    };
    const Operation report = [](const auto&, const auto& i_machine, const auto& i_api, const auto& i_scene) {
        return Helpers::FillReportProperties(i_machine, i_api, i_scene);
    };
    struct Row
    {
        Operation run;
        CommandType type;
        const char* usage;
        const char* machine;
        const char* process;
        const char* title;
        bool checks = true;
    };
    const Row rows[] = {
        {Helpers::SubmitJob, CommandType::CreateJobUrl, "Build", "Build", "VexlorProcess", "Create Job"},
        {Helpers::PlaceAutomatically, CommandType::AutomaticPlacement, "Automatic placement", "Autoplacement",
         "VexlorPlaceAutomatically", "Automatic Placement"},
        {Helpers::EstimateConsumption, CommandType::ConsumptionEstimations, nullptr, nullptr,
         "VexlorEstimatePrintConsumptions", "Build Consumption Estimations"},
        {Helpers::ConfigurePart, CommandType::ConfigureParts, "Configure parts", "Configure parts",
         "VexlorConfigureParts", "Own name"},
        {Helpers::ConfigurePlatform, CommandType::ConfigurePlatform, "Configure platform", "ConfigurePlatform",
         "VexlorConfigurePlatform", "Own name"},
        {Helpers::ConfigurePrinter, CommandType::ConfigurePrinter, "Configure platform", "ConfigurePlatform",
         "VexlorProcess", "Own name", false},
        {dynamic, CommandType::Additional, "Additional command", "Additional commands", "VexlorProcess", "Own name"},
        {report, CommandType::Additional, nullptr, nullptr, "VexlorDocGenProperties", "Report Properties", false},
    };
    _script->data.modelId = "model";
    _script->data.manufacturer = "maker";
    _script->data.driverId = "driver";
    TavAM::Part brep;
    brep.SetRepresentation(Representation::FromBrep("b"));
    text = QStringLiteral("at click \u00e4");
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.process) + " " + row.title);
        CommandParameters seen;
        _script->run = _script->fillReport = [&](const CommandParameters& i_parameters) {
            seen = i_parameters;
            return MakeReady(CommandResult());
        };
        VexlorCore::Statistic::Clear();
        _provider.log.clear();
        _scene->GetParts().clear();
        const CommandDescription description = Describe(row.type);
        EXPECT_TRUE(row.run(description, _MakeMachine(), _getProvider, _getScene));
        EXPECT_EQ(row.process, seen.processName);
        EXPECT_EQ(row.title == std::string("Report Properties"), seen.commandId != description.id);
        EXPECT_EQ(std::string("job ") + row.title, _provider.log.at(0));
        EXPECT_EQ(row.usage && row.usage == std::string("Additional command") ? text.toStdString() : "",
                  seen.callerContext);
        std::vector<VexlorCore::Statistic::Trace> expected;
        if (row.usage)
            expected = {{"BuildProcessorsUsage", "Information", row.usage, {}},
                        {"BuildProcessors",
                         "Information",
                         row.machine,
                         {{"BuildProcessors.ModelId", "model"},
                          {"BuildProcessors.Manufacturer", "maker"},
                          {"BuildProcessors.DriverId", "driver"}}}};
        EXPECT_EQ(expected, VexlorCore::Statistic::GetTraces());

        _scene->GetParts() = {brep};
        _messages.clear();
        EXPECT_EQ(!row.checks, row.run(description, _MakeMachine(), _getProvider, _getScene));
        EXPECT_EQ(row.checks ? 1u : 0u, _messages.size());
    }
    _script->fillReport = [](const CommandParameters&) {
        return MakeFailed<CommandResult>(
            std::make_exception_ptr(CommunicationException(ErrorCode::ReportNotSupported)));
    };
    EXPECT_FALSE(Helpers::FillReportProperties(_MakeMachine(), _getProvider, _getScene));
    _ExpectOneFailure("The Build Process doesn't support report generation");
}

} // namespace
} // namespace MachineService

#include "CommandExecutionTest.moc"
