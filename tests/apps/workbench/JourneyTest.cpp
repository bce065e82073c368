#include "apps/workbench/JourneyFixture.h"

#include "workbench/plate/PlateView.h"
#include "workbench/preview/PreviewModel.h"
#include "workbench/preview/PreviewView.h"

#include <QAccessible>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>

namespace {

using namespace Workbench;
using TestSupport::WaitFor;

class JourneyTest : public TestSupport::JourneyFixture
{
protected:
    static QString _GetDescription(QWidget& io_widget)
    {
        return QAccessible::queryAccessibleInterface(&io_widget)->text(QAccessible::Description);
    }
    QModelIndex _FindMachine(const char* ip_name)
    {
        const auto& machines = _window->GetMachines();
        for (int row = 0; row < machines.rowCount(machines.index(0, 0)); ++row) {
            const QModelIndex machine = machines.index(row, 0, machines.index(0, 0));
            if (machine.data().toString() == QLatin1String(ip_name))
                return machine;
        }
        return {};
    }
};

TEST_F(JourneyTest, FromAnEmptyStartToAMachineFile)
{
    ASSERT_TRUE(_Prepare());
    EXPECT_EQ(_GetScene().GetParts().size(), 1U);
    ASSERT_TRUE(_Run("Print3D.Print", "Build"));
    const JobList::Entry& job = *_window->GetJobs().GetNewest();
    EXPECT_EQ(_GetState(), "Done") << job.failures.join(QLatin1Char(' ')).toStdString();
    EXPECT_EQ(job.percent, 100);
    ASSERT_EQ(job.files.size(), 1);
    EXPECT_NE(TestSupport::ReadFile(job.files.front().toStdString()).find("G1"), std::string::npos);
    // A display without a screen draws OpenGL on the processor.
    EXPECT_LT(_window->GetLoopWatch().GetLongest().count(),
              QApplication::platformName() == QLatin1String("offscreen") ? 1000 : 4000);
    EXPECT_TRUE(_boxes.isEmpty());

    // What it left is shown layer by layer.
    _Drop(job.files.front());
    PreviewView* preview = nullptr;
    ASSERT_TRUE(WaitFor([&] {
        preview = _window->findChild<PreviewView*>();
        return preview && preview->GetModel().GetLayerCount() > 0;
    }));
    EXPECT_EQ(preview->GetModel().GetLayerCount(), 100);
    preview->close();

    bool isSaved = false;
    _window->GetBook().Save(_GetScene(), _File("bracket.TavAMX"), [&] { isSaved = true; });
    EXPECT_TRUE(WaitFor([&] { return isSaved; }));
    EXPECT_TRUE(_window->close());
}

TEST_F(JourneyTest, AFailureIsOneBoxAndItsDetailsStayInThePanel)
{
    ASSERT_TRUE(_Prepare());
    auto& part = _GetScene().GetParts()[0];
    part.SetPlacement(TavAM::Transform::Translation(500, 0, 0));
    ASSERT_TRUE(_Run("Print3D.Print", "Build"));
    EXPECT_EQ(_GetState(), "Failed");
    ASSERT_EQ(_boxes.size(), 1) << _boxes.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(_boxes.front().contains(QLatin1String("bracket"))) << _boxes.front().toStdString();
    EXPECT_TRUE(_window->GetJobs().Describe(0).contains(_boxes.front()));
}

TEST_F(JourneyTest, ACommandIsOneStepThatSaysWhereItCameFrom)
{
    ASSERT_TRUE(_Prepare());
    _GetScene().GetParts()[0].SetPlacement(TavAM::Transform::Translation(500, 0, 0));
    ASSERT_TRUE(_Run("Print3D.AutomaticPlacement", "Automatic Placement"));
    EXPECT_EQ(_GetState(), "Done");
    QAction* const undo = _window->GetActions().Get(MainActions::Undo);
    EXPECT_TRUE(undo->text().contains(QLatin1String("Automatic Placement of 'Scene 1'"))) << undo->text().toStdString();
    const auto placed = _GetScene().GetParts()[0].GetBoundingBox();
    EXPECT_LT(placed.max.x, 181);
    undo->trigger();
    EXPECT_GT(_GetScene().GetParts()[0].GetBoundingBox().min.x, 400);
    _window->GetActions().Get(MainActions::Redo)->trigger();
    EXPECT_NEAR(_GetScene().GetParts()[0].GetBoundingBox().max.x, placed.max.x, 1e-6);
}

TEST_F(JourneyTest, CancelSaysSoAtOnceAndComesBackSoon)
{
    ASSERT_TRUE(_DropCube(150) && _Attach("kes 180") && _MakePlatform());
    QElapsedTimer since;
    QTimer cancel;
    QObject::connect(&cancel, &QTimer::timeout, [&] {
        if (!_window->GetJobs().IsRunning() || since.isValid())
            return;
        since.start();
        _window->GetActions().Get(MainActions::CancelJob)->trigger();
        EXPECT_EQ(_GetState(), "Cancelling");
    });
    cancel.start(50);
    ASSERT_TRUE(_Run("Print3D.Print", "Build"));
    EXPECT_LT(since.elapsed(), 2000);
    EXPECT_EQ(_GetState(), "Cancelled");
    EXPECT_LE(_boxes.size(), 1);
}

TEST_F(JourneyTest, AProfileIsInstalledOrRefusedWithItsField)
{
    TestSupport::WriteFile(_Path("own.json"), "{\"id\": 7}");
    _Drop(_File("own.json"));
    ASSERT_TRUE(WaitFor([&] { return _boxes.size() == 1; }));
    EXPECT_TRUE(_boxes.front().startsWith(QLatin1String("'own.json': field "))) << _boxes.front().toStdString();

    std::string profile = TestSupport::ReadFile(SHIPPED_PROFILES "/kestrel-180.json");
    for (const auto& [what, by] :
         {std::pair("\"name\": \"Kestrel 180\"", "\"name\": \"My own\""), std::pair("\"id\": \"", "\"id\": \"0")}) {
        const std::size_t place = profile.find(what);
        ASSERT_NE(place, std::string::npos) << what;
        profile.replace(place, std::string(what).size(), by);
    }
    // One digit more at the front, one less at the end.
    const std::size_t id = profile.find("\"id\": \"") + 7;
    profile.erase(id + 8, 1);
    TestSupport::WriteFile(_Path("own.json"), profile);
    _Drop(_File("own.json"));
    EXPECT_TRUE(WaitFor([&] { return _FindMachine("My own").isValid(); }, 20'000))
        << _boxes.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(_window->statusBar()->currentMessage().contains(QLatin1String("My own")));
    // It goes while a scene is attached to it, and stays in the list as gone.
    ASSERT_TRUE(_DropCube() && _Attach("my own"));
    std::filesystem::remove(_ProfilePath("own.json"));
    EXPECT_TRUE(WaitFor([&] { return _FindMachine("My own").data(MachineList::GoneRole).toBool(); }));
    TestSupport::WriteFile(_ProfilePath("own.json"), profile);
    EXPECT_TRUE(WaitFor([&] { return !_FindMachine("My own").data(MachineList::GoneRole).toBool(); }));
}

TEST_F(JourneyTest, LengthsAndLanguageChangeEverywhereAtOnce)
{
    ASSERT_TRUE(_DropCube(25.4) && _Attach("kes 180"));
    auto* const parts = _window->GetPage()->GetSide()->findChild<QListWidget*>();
    ASSERT_TRUE(parts);
    EXPECT_EQ(parts->item(0)->text().toStdString(), "bracket: 25.4 × 25.4 × 25.4 mm");
    _preferences->SetLengthUnit(LengthUnit::Inch);
    EXPECT_TRUE(
        WaitFor([&] { return parts->item(0)->text() == QString::fromUtf8("bracket: 1.000 × 1.000 × 1.000 in"); }));
    _preferences->SetLengthUnit(LengthUnit::Millimetre);
    EXPECT_TRUE(WaitFor([&] { return parts->item(0)->text() == QString::fromUtf8("bracket: 25.4 × 25.4 × 25.4 mm"); }));
}

TEST_F(JourneyTest, ADisabledCommandSaysWhyWhereItIsPointedAtAndWhenClicked)
{
    ASSERT_TRUE(_Prepare());
    _window->GetActions().Get(MainActions::Undo)->trigger();
    _window->GetActions().Get(MainActions::Undo)->trigger();
    auto* const build = _window->GetRibbon().FindButton(QStringLiteral("Print3D.Print"));
    const QString reason = QStringLiteral("There is nothing on the plate.");
    _GetScene().GetParts().clear();
    _window->GetBook().GetHistory().Look(_GetScene());
    ASSERT_TRUE(WaitFor([&] { return build->GetRefusal() == reason; }));
    EXPECT_TRUE(build->toolTip().contains(reason));
    EXPECT_TRUE(_GetDescription(*build).contains(reason));
    QTest::mouseClick(build, Qt::LeftButton);
    EXPECT_TRUE(_window->statusBar()->currentMessage().contains(reason));
    EXPECT_TRUE(_window->GetJobs().GetNewest()->title != QLatin1String("Build"));
}

TEST_F(JourneyTest, NothingUnsavedIsLostWithoutAQuestion)
{
    ASSERT_TRUE(_DropCube());
    _AnswerBoxesWith("Stay");
    _window->close();
    EXPECT_TRUE(_window->isVisible());
    ASSERT_EQ(_boxes.size(), 1);
    EXPECT_TRUE(_boxes.front().contains(QLatin1String("not saved")));
    // Undone to what it was: nothing to ask about.
    _window->GetActions().Get(MainActions::Undo)->trigger();
    EXPECT_TRUE(_window->close());
    EXPECT_EQ(_boxes.size(), 1);
}

TEST_F(JourneyTest, OpenFilesAndTheirViewsReturnAtTheNextStart)
{
    ASSERT_TRUE(_DropCube());
    const auto save = [&](const char* ip_name) {
        bool isSaved = false;
        _window->GetBook().Save(_GetScene(), _File(ip_name), [&] { isSaved = true; });
        return WaitFor([&] { return isSaved; });
    };
    ASSERT_TRUE(save("one.TavAMX"));
    ASSERT_TRUE(WaitFor([&] { return !_window->GetPage()->GetPlate().SaveView().isEmpty(); }));
    _window->GetPage()->GetPlate().SetStandardView(StandardView::Top);
    const QByteArray view = _window->GetPage()->GetPlate().SaveView();
    auto& first = _GetScene();
    _window->GetBook().New();
    ASSERT_TRUE(save("two.TavAMX"));
    _window->GetBook().New();
    ASSERT_TRUE(save("gone.TavAMX"));
    std::filesystem::remove(_Path("gone.TavAMX"));
    _window->GetBook().SetActive(&first);
    ASSERT_TRUE(_window->close());
    while (!_window->GetBook().GetScenes().empty())
        _window->GetBook().Close(*_window->GetBook().GetScenes().front());

    _window.reset();
    _window = std::make_unique<MainWindow>(*_host, *_preferences, _File("recovery"));
    _window->show();
    _window->OpenAgain();
    ASSERT_TRUE(WaitFor([&] {
        return _window->GetBook().GetScenes().size() == 2 && !_window->GetBook().IsBusy() &&
               !_window->GetPage()->GetPlate().SaveView().isEmpty();
    }));
    EXPECT_EQ(SceneBook::GetFile(_GetScene()), _File("one.TavAMX"));
    EXPECT_EQ(_window->GetPage()->GetPlate().SaveView(), view);
    EXPECT_TRUE(_window->GetBook().IsSaved(_GetScene()));
    EXPECT_TRUE(_boxes.isEmpty());
}

struct WayOfClosing
{
    const char* button;
    bool closes;
    const char* state; ///< of the job in the end
};

class ClosingTest : public JourneyTest, public ::testing::WithParamInterface<WayOfClosing>
{};

TEST_P(ClosingTest, WhileACommandRunsIsWhatTheUserChose)
{
    ASSERT_TRUE(_DropCube(60) && _Attach("kes 180") && _MakePlatform());
    bool isSaved = false;
    _window->GetBook().Save(_GetScene(), _File("bracket.TavAMX"), [&] { isSaved = true; });
    ASSERT_TRUE(WaitFor([&] { return isSaved; }));
    _AnswerBoxesWith(GetParam().button);
    bool wasAsked = false;
    QTimer close;
    QObject::connect(&close, &QTimer::timeout, [&] {
        if (_window->GetJobs().IsRunning() && !std::exchange(wasAsked, true)) {
            _window->close();
            EXPECT_TRUE(_window->isVisible()) << "not before the command has come back";
            // What the command leaves on the plate is no reason to stay here.
            _AnswerBoxesWith("Do not save");
        }
    });
    close.start(50);
    ASSERT_TRUE(_Run("Print3D.Print", "Build"));
    EXPECT_TRUE(wasAsked);
    EXPECT_EQ(_GetState(), GetParam().state);
    EXPECT_EQ(WaitFor([&] { return !_window->isVisible(); }, GetParam().closes ? 10'000 : 500), GetParam().closes);
}

INSTANTIATE_TEST_SUITE_P(Ways, ClosingTest,
                         ::testing::Values(WayOfClosing{"Stay", false, "Done"},
                                           WayOfClosing{"Finish, then close", true, "Done"},
                                           WayOfClosing{"Stop and close", true, "Cancelled"}),
                         [](const auto& i_info) { return "Way" + std::to_string(i_info.index); });

} // namespace
