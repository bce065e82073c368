#include "commands/CommandsFixture.h"

#include "commands/PrinterCommand.h"

#include "vexlorui/CommandsContainer.h"

#include <boost/uuid/uuid_io.hpp>

#include <QDesktopServices>
#include <QUrl>

namespace {

using namespace TestSupport;
using TavAM::Representation;
using CommandExecutionTest = CommandsFixture;

TEST_F(CommandExecutionTest, FormatDecidesWhatGoesToTheMachineAndWhatIsLoaded)
{
    _script->run = [](const CommandParameters& i_parameters) {
        EXPECT_TRUE(std::filesystem::exists(i_parameters.inputFile));
        EXPECT_NE(i_parameters.inputFile.parent_path(), i_parameters.outputDir);
        i_parameters.onProgress(250, "slicing");
        return Leave({"b.tavamx", "a.txt"})(i_parameters);
    };
    for (int format = 1; format <= 8; ++format) {
        const std::string number = std::to_string(format);
        SCOPED_TRACE(number);
        _ForgetAll();
        EXPECT_TRUE(_Submit(CommandType::Build, format));
        EXPECT_THAT(_provider.log, ElementsAre("job Build", "save " + number + (format <= 5 ? " .TavAMX" : " .xml"),
                                               format <= 5 ? "load " + number + " b.tavamx" : "open a.txt b.tavamx"));
        EXPECT_EQ(std::make_pair(100, std::string("slicing")), _provider.progress.back());
        EXPECT_TRUE(_TempIsEmpty());
    }
}

TEST_F(CommandExecutionTest, TheMachineMayTellThatItMadeSomethingElseOrNothing)
{
    CommandResult result;
    for (const auto& [format, file, load] : {std::tuple(DataFormat::AdditionalParts, "a.STL", "load 5 a.STL"),
                                             {DataFormat::Document, "a.txt", "open a.txt"},
                                             {DataFormat::None, "a.txt", "save 1 .TavAMX"}}) {
        result.dataFormat = format;
        _script->run = Leave({file}, result);
        EXPECT_TRUE(_Submit());
        EXPECT_EQ(load, _provider.log.back());
    }
    EXPECT_TRUE(_messages.empty());
}

TEST_F(CommandExecutionTest, JobIsNamedAfterTheScenesFileAndCarriesItsParts)
{
    auto part = MakePart({});
    part.SetHasSupports(true);
    part.SetStrategies(TavAM::Part::Strategies{{L"part", L"fine"}});
    _scene->GetParts() = {MakePart({}), part};
    CommandParameters seen;
    _script->run = [&](const CommandParameters& i_parameters) {
        seen = i_parameters;
        return MakeReady(CommandResult());
    };
    for (const auto& [file, name] : {std::pair(L"/x/bracket.final.stl", "bracket.final"),
                                     {L"/x.y/bracket", "bracket"},
                                     {L"/x/\u6a5f\u68b0.stl", "\u6a5f\u68b0"},
                                     {L"", "Untitled"}}) {
        _scene->SetFileName(file);
        EXPECT_TRUE(_Submit());
        EXPECT_EQ(name, seen.jobName);
    }
    ASSERT_EQ(1u, seen.parts.size()) << "parts without strategies are skipped";
    EXPECT_EQ(boost::uuids::to_string(part.GetRevisionId()), seen.parts[0].globalId);
    EXPECT_TRUE(seen.parts[0].hasSupports);
    EXPECT_THAT(seen.parts[0].strategies, ElementsAre(std::pair<std::string, std::string>("part", "fine")));
}

/// A machine of the Machine Manager, and an operation in the host's history.
class SubmissionTest : public CommandExecutionTest
{
protected:
    SubmissionTest()
    {
        _script->data.serviceId = ServiceId::MachineManager;
        _scene->SetFileName(L"job.stl");
        _operations.Execute(L"sent", 0, [] {});
    }
    VexlorCore::OperationManagerBase& _operations = *_host.application.GetOperationManager();
};

TEST_F(SubmissionTest, IsConfirmedAndItsOperationPurged)
{
    for (const auto& [type, asked] : {std::pair(CommandType::Build, "confirm Print3D.PostJob job"),
                                      {CommandType::PostJob, "confirm Print3D.PostJob job"},
                                      {CommandType::CreateJobUrl, "confirm Print3D.CreateJobUrl job"}}) {
        _ForgetAll();
        _operations.Execute(L"sent", 0, [] {});
        EXPECT_TRUE(_Submit(type));
        EXPECT_THAT(_provider.log, ElementsAre(asked, "job Creating a job in the Machine Manager", "save 1 .TavAMX"));
        EXPECT_EQ(1u, _operations.GetHistory().size());
    }
}

TEST_F(SubmissionTest, PurgesAlsoWhenTheJobFailsButNothingForOneThatWasNotStarted)
{
    _provider.confirms = false;
    EXPECT_FALSE(_Submit());
    EXPECT_TRUE(_messages.empty());
    _provider.confirms = true;
    _provider.onStart = [] {
        throw std::runtime_error("Another command is still running.");
    };
    EXPECT_FALSE(_Submit());
    EXPECT_EQ(1u, _operations.GetHistory().size());
    _provider.onStart = nullptr;
    _provider.onSave = [] {
        throw std::runtime_error("failed");
    };
    _messages.clear();
    EXPECT_FALSE(_Submit());
    EXPECT_TRUE(_operations.GetHistory().empty());
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

TEST_F(SubmissionTest, OffersTheJobListOfTheWebOnly)
{
    UrlReceiver desktop;
    CommandResult result;
    result.secondStatus = SubmissionSent;
    result.jobList = {"https", "jobs.example:8080", "a b/%41?", "q=\u00e4#&x=1", "frag ment"};
    _script->run = [&](const CommandParameters& i_parameters) {
        return Leave({}, result)(i_parameters);
    };
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
        EXPECT_THAT(_messages[1].text.toStdString(), StartsWith("Cannot open url: ")) << address.scheme;
    }
    EXPECT_EQ(1, desktop.urls.size());
    _messages.clear();
    _script->data.serviceId = ServiceId::BuildProcessors;
    EXPECT_TRUE(_Submit());
    EXPECT_TRUE(_messages.empty()) << "only the Machine Manager's jobs are told";
}

TEST_F(SubmissionTest, SceneClosedMeanwhileIsOneMessage)
{
    const auto close = [this] {
        VexlorCore::UiThread::Invoke([this] { _host.application.GetDatabase()->CloseDataSet(_scene); });
    };
    _provider.onConfirm = close;
    EXPECT_FALSE(_Submit());
    _ExpectOneFailure("The scene was closed.");

    _ForgetAll();
    _provider.onConfirm = nullptr;
    _scene = _host.application.GetDatabase()->CreateDataSet();
    _script->run = [&](const CommandParameters& i_parameters) {
        close();
        return Leave({"a.TavAMX"})(i_parameters);
    };
    EXPECT_FALSE(_Submit());
    _ExpectOneFailure("The scene was closed.");
}

TEST_F(CommandExecutionTest, SecondCommandIsRefusedAndTheFirstGoesOnAlsoWithoutItsButton)
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

TEST_F(CommandExecutionTest, ExportCheckRefusesWhatTheMachineDoesNotTake)
{
    const auto mesh = MakePart({}).GetRepresentation();
    const auto composed = [](Representation i_member) {
        return Representation::FromMembers({std::move(i_member)});
    };
    const auto implicit = Representation::FromImplicit("i");
    const auto brep = Representation::FromBrep("b");
    // Passes for a machine that takes: nothing special, implicit data, composed parts, both.
    const std::pair<Representation, const char*> rows[] = {
        {mesh, "1111"},           {implicit, "0101"},
        {composed(mesh), "0011"}, {composed(composed(implicit)), "0001"},
        {brep, "0000"},           {composed(composed(brep)), "0000"},
    };
    for (const auto& [representation, passes] : rows)
        for (std::size_t takes = 0; takes < 4; ++takes) {
            SCOPED_TRACE(passes + std::to_string(takes));
            _script->data.acceptsImplicitData = takes & 1;
            _script->data.acceptsComposedParts = takes & 2;
            _scene->GetParts() = {TavAM::Part(), TavAM::Part()};
            _scene->GetParts()[0].SetRepresentation(mesh);
            _scene->GetParts()[1].SetRepresentation(representation);
            _ForgetAll();
            const bool passed = passes[takes] == '1';
            EXPECT_EQ(passed, _Submit());
            EXPECT_EQ(passed, !_provider.log.empty()) << "the machine must not be asked after a refusal";
            if (!passed)
                _ExpectOneFailure("Some data on the platform can't be exported to the current machine. To be able to "
                                  "export, make the following changes:\n - Convert implicit data to mesh\n - Convert "
                                  "BREP data to mesh\n - Split composed parts\n - or change to a build processor that "
                                  "supports your data");
        }
}

} // namespace

#include "CommandExecutionTest.moc"
