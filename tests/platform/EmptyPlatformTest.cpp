#include "platform/PlatformCreatorFixture.h"

#include "platform/ErrorMessages.h"

#include "tavam/AMXFileReader.h"
#include "tavam/FileError.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/HeldScene.h"
#include "vexlorcore/SceneMachineData.h"

#include <boost/uuid/uuid_io.hpp>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>

namespace {

using namespace TestSupport;

using EmptyPlatformTest = PlatformCreatorFixture;

TEST_F(EmptyPlatformTest, SendsTheChoicesAndBringsThePlatformIntoTheScene)
{
    TavAM::PersistentProperties& properties = _host.scene->GetAMObject().GetAMXProperties();
    properties.SetText(L"höhe", L"from the scene");
    properties.SetText(L"plate", L"from the scene");
    properties.SetText(L"other", L"not asked for");
    _SetAnswer(_MakeAnswer());
    const auto creator = _Create(_MakeInfo());
    creator->SetParameterValue(L"höhe", L"0.1");
    creator->SetParameterValue(L"höhe", L"0.2 ä<");
    creator->SetParameterValue(L"free", L"");
    EXPECT_TRUE(creator->CreatePlatform(_host.scene, false));
    const std::string& sent = _sent.at(0);
    EXPECT_THAT(sent, HasSubstr("<ParameterValue id=\"höhe\">0.2 ä&lt;</ParameterValue>"));
    EXPECT_THAT(sent, HasSubstr("<ParameterValue id=\"plate\">from the scene</ParameterValue>"));
    EXPECT_THAT(sent, HasSubstr("<ParameterValue id=\"free\">"));
    EXPECT_THAT(sent, Not(HasSubstr("other")));

    EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"empty");
    EXPECT_EQ(_GetSceneProperties().GetText(TavAM::PropertyNames::Print3D::SelectedQueueID),
              L"00000000-0000-0000-0000-000000000007");
    EXPECT_EQ(_GetSceneProperties().GetText(TavAM::PropertyNames::Print3D::MachineInformationTimestamp),
              L"2023-11-14T22:13:20Z");
    const auto* const data = MachineLayer::Utilities::GetMachineDataMutable(_host.scene);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->Get(), creator->GetMachineData()->Get());

    const std::filesystem::path path = _host.GetDir() / "saved.TavAMX";
    TavAM::AMXFileWriter().WriteFile(path, _host.scene->GetPlatform());
    TavAM::Database database;
    TavAM::AMXFileReader reader;
    ASSERT_TRUE(reader.ReadFile(path, database)) << reader.GetError();
    VexlorCore::DataSet* const reopened = _host.GetDatabase().CreateDataSet();
    reopened->SetPlatform(*database.GetPlatform(0));
    EXPECT_EQ(MachineLayer::Utilities::GetMachineDataMutable(reopened)->Get(), data->Get());
    EXPECT_EQ(reopened->GetAMObject().GetAMXProperties(), _GetSceneProperties());

    // Without parameters nothing is sent and nothing recorded.
    PlatformInfo info = _MakeInfo();
    info.xml.clear();
    const auto plain = _Create(info);
    plain->SetParameterValue(L"plate", L"1");
    EXPECT_TRUE(plain->CreatePlatform(_host.scene, false));
    EXPECT_EQ(_sent.at(1), "");
}

TEST_F(EmptyPlatformTest, EndsByWhatTheMachineAnswers)
{
    const auto creator = _Create(_MakeInfo());
    Answer nothing = _MakeAnswer();
    nothing.first.dataFormat = DataFormat::None;
    _SetAnswer(nothing);
    EXPECT_FALSE(creator->CreatePlatform(_host.scene, false));
    EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"");

    // Data of another kind: without a machine in the scene there is nothing to update.
    Answer configuration = {CommandResult(), _MakeInfo().items.at(1)};
    _SetAnswer(configuration);
    EXPECT_TRUE(creator->CreatePlatform(_host.scene, false));
    TavAM::Platform platform;
    platform.SetMachine(_MakeParameters());
    _host.scene->SetPlatform(platform);
    creator->GetMachineData()->Edit().baseplate.reset();
    EXPECT_TRUE(creator->CreatePlatform(_host.scene, false));
    const auto* const data = MachineLayer::Utilities::GetMachineDataMutable(_host.scene);
    EXPECT_EQ(data->Get().baseplate->thickness, 12);
    EXPECT_EQ(data->Get().platformShape, creator->GetMachineData()->Get().platformShape);
    configuration.second.data = "*";
    _SetAnswer(configuration);
    EXPECT_EQ(GetFailure([&] { creator->CreatePlatform(_host.scene, false); }),
              (Failure{ErrorCode::PldfError, "PLDF decoding failed."}));
}

TEST_F(EmptyPlatformTest, ADamagedOneLeavesTheSceneAsItWas)
{
    const auto creator = _Create(_MakeInfo());
    const std::pair<std::string, const char*> rows[] = {
        {"no package", "Vexlor"},
        {_MakeAmx().substr(0, 300), "Vexlor"},
        {_MakeAmx(0), "holds no platform"},
        {_MakeAmx(2), "hold 2 platforms"},
    };
    for (const auto& [data, message] : rows) {
        Answer answer = _MakeAnswer();
        answer.second.data = data;
        _SetAnswer(answer);
        EXPECT_THAT([&] { creator->CreatePlatform(_host.scene, false); },
                    ThrowsMessage<TavAM::FileError>(HasSubstr(message)));
        EXPECT_TRUE(std::filesystem::is_empty(_temp)) << message;
    }
    EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"");
    EXPECT_EQ(_GetSceneProperties(), TavAM::PersistentProperties());
}

TEST_F(EmptyPlatformTest, MachineDataThatCannotBeKeptLeaveTheSceneAsItWas)
{
    const auto creator = _Create(_MakeInfo());
    // A text that no document can carry.
    creator->GetMachineData()->Edit().surfaceTypeProfiles[L"\x01"] = {};
    const auto expectRefused = [&] {
        const TavAM::PersistentProperties properties = _GetSceneProperties();
        const std::wstring name = _host.scene->GetPlatform().GetName();
        EXPECT_EQ(GetFailure([&] { creator->CreatePlatform(_host.scene, false); }),
                  (Failure{ErrorCode::FileError, "An error occurred while loading the machine."}));
        EXPECT_EQ(_host.scene->GetPlatform().GetName(), name);
        EXPECT_EQ(_GetSceneProperties(), properties);
        EXPECT_TRUE(_host.application.GetOperationManager()->GetHistory().empty());
    };
    _SetAnswer(_MakeAnswer());
    expectRefused();
    TavAM::Platform platform;
    platform.SetMachine(_MakeParameters());
    _host.scene->SetPlatform(platform);
    const auto before = MachineLayer::Utilities::GetMachineDataMutable(_host.scene)->Get();
    _SetAnswer({CommandResult(), _MakeInfo().items.at(1)});
    expectRefused();
    EXPECT_EQ(MachineLayer::Utilities::GetMachineDataMutable(_host.scene)->Get(), before);
}

TEST_F(EmptyPlatformTest, ConfigurationTimeIsTheMachinesWhateverThePlatformSays)
{
    namespace Names = TavAM::PropertyNames::Print3D;
    for (const wchar_t* const time : {L"2001-01-01T00:00:00Z", L"2101-01-01T00:00:00Z"}) {
        TavAM::Platform platform;
        platform.SetMachine(_MakeParameters());
        platform.GetAMXProperties().SetText(
            Names::SelectedQueueID,
            QString::fromStdString(boost::uuids::to_string(_machine.GetMachineData().id)).toStdWString());
        platform.GetAMXProperties().SetText(Names::MachineInformationTimestamp, time);
        const std::filesystem::path path = _host.GetDir() / "dated.TavAMX";
        TavAM::AMXFileWriter().WriteFile(path, platform);
        Answer answer = _MakeAnswer();
        answer.second.data = ReadFile(path);
        _SetAnswer(answer);
        EXPECT_TRUE(_Create(_MakeInfo())->CreatePlatform(_host.scene, false));
        EXPECT_EQ(_GetSceneProperties().GetText(Names::MachineInformationTimestamp), L"2023-11-14T22:13:20Z");
    }
}

TEST_F(EmptyPlatformTest, EveryCodeEndsInItsSentence)
{
    const auto creator = _Create(_MakeInfo());
    for (int number = 1; number <= 22; ++number) {
        const auto code = static_cast<ErrorCode>(number);
        const auto entry = ErrorMessageTable.find(number);
        const std::string sentence = entry != ErrorMessageTable.end() ? entry->second : "own text";
        EXPECT_FALSE(_Create(ProgressWatcherFuture<PlatformInfo>(MakeFailed<PlatformInfo>(_MakeException(code)))));
        EXPECT_EQ(_GetMessage(), sentence);

        // As an exception, and as a result that says so itself.
        CommandResult gaveUp;
        gaveUp.completed = false;
        gaveUp.status = number;
        gaveUp.message = "own text";
        for (const bool isResult : {false, true}) {
            _SetAnswer(
                [&] { return isResult ? MakeReady(Answer(gaveUp, {})) : MakeFailed<Answer>(_MakeException(code)); });
            std::string result;
            try {
                result = creator->CreatePlatform(_host.scene, false) ? "true" : "false";
            } catch (const CommunicationException& error) {
                EXPECT_EQ(error.code(), code);
                result = error.what();
            }
            EXPECT_EQ(result, number >= 11 && number <= 13 ? "false" : sentence) << number;
        }
    }
    Answer words;
    words.first.completed = false;
    words.first.message = "own text";
    _SetAnswer(words);
    EXPECT_EQ(GetFailure([&] { creator->CreatePlatform(_host.scene, false); }), (Failure{ErrorCode::None, "own text"}));
    EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"");
    EXPECT_FALSE(_host.provider.IsJobRunning());
}

TEST_F(EmptyPlatformTest, WaitingKeepsTheEventLoopTurningAndCanBeCancelled)
{
    const auto creator = _Create(_MakeInfo());
    const auto watcher = std::make_shared<ProgressWatcher>();
    std::promise<PlatformInfo> information;
    std::promise<Answer> platform;
    _SetAnswer([&platform] { return platform.get_future(); });
    int turns = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (++turns == 20)
            _host.provider.CancelCurrentJob();
    });
    timer.start(1);
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(_Create(ProgressWatcherFuture<PlatformInfo>(information.get_future(), watcher)));
    EXPECT_EQ(_message, L"Job processing was aborted.");
    EXPECT_TRUE(watcher->GetStopToken().stop_requested()) << "the machine was not told";
    EXPECT_GE(turns, 20);
    EXPECT_LT(clock.restart(), 1000);

    const auto expectAborted = [&] {
        EXPECT_EQ(GetFailure([&] { creator->CreatePlatform(_host.scene, false); }),
                  (Failure{ErrorCode::ProcessingAborted, "Job processing was aborted."}));
    };
    turns = 0;
    expectAborted();
    EXPECT_GE(turns, 20);
    EXPECT_LT(clock.elapsed(), 1000);
    // The same while the host loads what came at once.
    struct Cancelling : Vexlor::IProgressDisplay
    {
        explicit Cancelling(Vexlor::ReferenceApiProvider& io_provider)
            : provider(io_provider)
        {}
        void Begin(const QString& i_title) override
        {
            titles += i_title;
            provider.CancelCurrentJob();
        }
        void SetProgress(int, const QString&) override {}
        void End() override {}
        Vexlor::ReferenceApiProvider& provider;
        QStringList titles;
    };
    const auto display = std::make_shared<Cancelling>(_host.provider);
    _host.provider.SetProgressDisplay(display);
    _SetAnswer(_MakeAnswer());
    expectAborted();
    EXPECT_EQ(display->titles, QStringList(QStringLiteral("Get Empty Platform")));
    EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"");
    // Late answers reach nobody.
    information.set_value(_MakeInfo());
    platform.set_value(_MakeAnswer());
}

TEST_F(EmptyPlatformTest, ASceneThatIsClosedMeanwhileIsNotTouched)
{
    const auto creator = _Create(_MakeInfo());
    std::promise<Answer> platform;
    _SetAnswer([&platform] { return platform.get_future(); });
    QTimer::singleShot(0, qApp, [&] {
        _host.GetDatabase().CloseDataSet(_host.scene);
        platform.set_value(_MakeAnswer());
    });
    EXPECT_THAT([&] { creator->CreatePlatform(_host.scene, false); },
                ThrowsMessage<VexlorCore::SceneClosed>("The scene was closed."));
}

} // namespace
