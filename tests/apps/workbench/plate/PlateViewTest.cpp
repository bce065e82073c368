#include "apps/workbench/plate/PlateFixture.h"

#include "workbench/base/LengthText.h"
#include "workbench/base/LoopWatch.h"
#include "workbench/plate/MeshStore.h"
#include "workbench/plate/NumbersPanel.h"
#include "workbench/plate/PlateDrawer.h"
#include "workbench/plate/PlateInteraction.h"
#include "workbench/plate/PlateModel.h"
#include "workbench/plate/PlateView.h"
#include "workbench/plate/ProblemFinder.h"
#include "workbench/plate/ProblemsPanel.h"

#include <QAction>
#include <QDoubleSpinBox>
#include <QListWidget>

namespace {

using namespace Workbench;
using PlateTest::MakeBall;
using PlateTest::MakeBox;
using PlateTest::MakePart;

/// The plate of two boxes and a ball; drawn with OpenGL where there is a display, else from above.
class PlateViewTest : public PlateTest::Fixture
{
protected:
    PlateViewTest()
    {
        SetBed(200, 100);
        GetParts() = {MakePart(L"one", MakeBox(20, 20, 10), 20, 20), MakePart(L"two", MakeBox(20, 20, 10), 100, 20),
                      MakePart(L"ball", MakeBall(100, 15), 150, 60)};
        _view = std::make_unique<PlateView>(*_host.scene, _selection);
        _view->resize(800, 500);
        _view->show();
    }

    ::testing::AssertionResult WaitWhole()
    {
        if (QTest::qWaitFor([&] { return _view->IsWholeFrameShown() && !_view->GetProblemFinder().IsBusy(); }, 20'000))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "no whole picture by " << _view->BackendName().toStdString();
    }

    QWidget& GetCanvas() { return *_view->findChild<QWidget*>(QStringLiteral("plate")); }
    const Camera& GetCamera() { return GetCanvas().findChild<PlateInteraction*>()->GetCamera(); }
    QPoint GetPixel(const TavAM::Point3d& i_at) { return GetCamera().Project(i_at).toPoint(); }
    void Drag(const QPoint& i_from, const QPoint& i_to, Qt::KeyboardModifiers i_modifiers = Qt::NoModifier)
    {
        QTest::mousePress(&GetCanvas(), Qt::LeftButton, i_modifiers, i_from);
        for (int step = 1; step <= 4; ++step) {
            QMouseEvent move(QEvent::MouseMove, QPointF(i_from) + QPointF(i_to - i_from) * step / 4, Qt::NoButton,
                             Qt::LeftButton, i_modifiers);
            QCoreApplication::sendEvent(&GetCanvas(), &move);
        }
        QTest::mouseRelease(&GetCanvas(), Qt::LeftButton, i_modifiers, i_to);
    }

    LoopWatch _watch;
    std::unique_ptr<PlateView> _view;
};

TEST_F(PlateViewTest, ThePictureShowsPlateAndPartsAndFollowsTheScene)
{
    ASSERT_TRUE(WaitWhole());
    const bool hasDisplay = !qEnvironmentVariableIsEmpty("DISPLAY");
    EXPECT_EQ(_view->BackendName().startsWith(QStringLiteral("OpenGL")), hasDisplay);
    const auto at = [&](const TavAM::Point3d& i_at) {
        return _view->grab().toImage().pixelColor(GetPixel(i_at));
    };
    const QColor part = at({30, 30, 10});
    const QColor plate = at({75, 75, 0});
    EXPECT_GT(std::abs(part.lightness() - plate.lightness()), 20);
    // Another selection and another problem are other colours, and go again.
    _selection.Set({GetId(0)});
    ASSERT_TRUE(WaitWhole());
    EXPECT_NE(at({33, 33, 10}), part);
    _selection.Clear();
    GetParts()[0].SetPlacement(TavAM::Transform::Translation(60, 60, 0));
    Announce();
    ASSERT_TRUE(WaitWhole());
    EXPECT_NEAR(at({65, 65, 10}).lightness(), part.lightness(), 12);
    EXPECT_NEAR(at({27, 33, 0}).lightness(), plate.lightness(), 12);
    // Whatever the driver has to make for its first pictures.
    EXPECT_LT(_watch.GetLongest(), std::chrono::milliseconds(500));
    if (const char* const folder = std::getenv("MACHINESERVICE_PICTURES"))
        _view->grab().save(QString::fromLocal8Bit(folder) + QStringLiteral("/plate.png"));
}

TEST_F(PlateViewTest, InMovementThePartsLookAsTheyDoAtRest)
{
    GetParts()[1].SetPlacement({{-2, 0, 0, 140, 0, 2, 0, 20, 0, 0, 2, 0}}); // mirrored and scaled
    Announce();
    const PlateModel& model = _view->GetModel();
    MeshStore store;
    store.Keep(model.GetMeshes());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !store.IsBusy(); }));
    PlateDrawer drawer;
    PlateDrawer::Job job;
    job.scene = std::make_shared<PlateScene>(model.TakeScene());
    job.meshes = store.GetSources(model.GetMeshes());
    job.camera.SetViewport({800, 500});
    job.camera.Fit(model.GetPartsBox());
    job.colours = GetPlateColours(_view->palette());
    job.size = QSize(800, 500);
    QImage pictures[2]; ///< in movement, at rest
    PlateDrawer::News news;
    const auto await = [&](const std::function<bool()>& i_condition) {
        drawer.Request(job);
        return QTest::qWaitFor(
            [&] {
                news = drawer.TakeNews();
                return i_condition() || !news.failure.isEmpty();
            },
            20'000);
    };
    job.isMoving = true;
    ASSERT_TRUE(await([&] { return !news.sent.empty(); }));
    for (const bool isAtRest : {false, true}) {
        job.isMoving = !isAtRest;
        ++job.revision;
        ASSERT_TRUE(await([&] { return news.picture.revision == job.revision && news.picture.isFull == isAtRest; }));
        pictures[isAtRest ? 1 : 0] = news.picture.image;
    }
    if (!news.failure.isEmpty()) {
        EXPECT_TRUE(qEnvironmentVariableIsEmpty("DISPLAY")) << news.failure.toStdString();
        return;
    }
    const TavAM::Point3d onParts[] = {{30, 30, 10}, {21, 20, 5}, {120, 40, 20}, {130, 20, 10}, {150, 60, 30}};
    for (const TavAM::Point3d& point : onParts) {
        const QPoint at = job.camera.Project(point).toPoint();
        EXPECT_NEAR(pictures[0].pixelColor(at).lightness(), pictures[1].pixelColor(at).lightness(), 25)
            << at.x() << ' ' << at.y();
    }
    for (const QPoint& corner : {QPoint(3, 3), QPoint(796, 496)})
        EXPECT_EQ(pictures[0].pixelColor(corner), pictures[1].pixelColor(corner));
}

TEST_F(PlateViewTest, MouseSelectsMovesAndGivesUp)
{
    ASSERT_TRUE(WaitWhole());
    QTest::mouseClick(&GetCanvas(), Qt::LeftButton, Qt::NoModifier, GetPixel({30, 30, 10}));
    EXPECT_EQ(_selection.GetIds(), (std::vector{GetId(0)}));
    QTest::mouseClick(&GetCanvas(), Qt::LeftButton, Qt::ControlModifier, GetPixel({110, 30, 10}));
    EXPECT_EQ(_selection.GetIds().size(), 2U);
    QTest::mouseClick(&GetCanvas(), Qt::LeftButton, Qt::NoModifier, GetPixel({75, 85, 0}));
    EXPECT_TRUE(_selection.IsEmpty());

    Drag(GetPixel({30, 30, 10}), GetPixel({40, 50, 10}));
    EXPECT_EQ(CountSteps(), 1U);
    const TavAM::BoundingBox box = GetParts()[0].GetBoundingBox();
    EXPECT_NEAR(box.min.x, 30, 0.7);
    EXPECT_NEAR(box.min.y, 40, 0.7);
    EXPECT_TRUE(Undo());

    // Escape during a drag: everything stays.
    const QPoint from = GetPixel({30, 30, 10});
    QTest::mousePress(&GetCanvas(), Qt::LeftButton, Qt::NoModifier, from);
    QMouseEvent move(QEvent::MouseMove, from + QPoint(60, 0), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&GetCanvas(), &move);
    EXPECT_TRUE(_view->GetModel().GetChangeInHand());
    QTest::keyClick(&GetCanvas(), Qt::Key_Escape);
    QTest::mouseRelease(&GetCanvas(), Qt::LeftButton, Qt::NoModifier, from + QPoint(60, 0));
    EXPECT_EQ(CountSteps(), 0U);

    _selection.Clear();
    Drag(QPoint(2, 2), QPoint(797, 497), Qt::ShiftModifier);
    EXPECT_EQ(_selection.GetIds().size(), 3U);
}

TEST_F(PlateViewTest, HandlesTurnAndScaleWhatIsSelected)
{
    ASSERT_TRUE(WaitWhole());
    auto* const interaction = GetCanvas().findChild<PlateInteraction*>();
    _selection.Set({GetId(1)});
    const PlateHandles handles = interaction->GetHandles();
    const auto onRing = [&](double i_degrees) {
        const double angle = i_degrees * std::numbers::pi / 180;
        return GetPixel({handles.centre.x + handles.radius * std::cos(angle),
                         handles.centre.y + handles.radius * std::sin(angle), handles.centre.z});
    };
    Drag(onRing(-45), onRing(-15));
    ASSERT_EQ(CountSteps(), 1U);
    const TavAM::Transform turned = GetParts()[1].GetPlacement();
    EXPECT_NEAR(std::atan2(turned.rows[4], turned.rows[0]) * 180 / std::numbers::pi, 30, 2.5);
    EXPECT_TRUE(Undo());
    const QPointF centre = GetCamera().Project(handles.centre);
    Drag(handles.scaleKnob.toPoint(), (centre + (handles.scaleKnob - centre) * 1.5).toPoint());
    EXPECT_NEAR(std::cbrt(GetParts()[1].GetPlacement().GetDeterminant()), 1.5, 0.03);
}

TEST_F(PlateViewTest, KeysAndActionsReachEverything)
{
    ASSERT_TRUE(WaitWhole());
    _view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(_view.get()));
    GetCanvas().setFocus();
    QTest::keyClick(&GetCanvas(), Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(_selection.GetIds().size(), 3U);
    QTest::keyClick(&GetCanvas(), Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(GetParts()[0].GetBoundingBox().min.x, 30, 1e-9);
    EXPECT_EQ(CountSteps(), 1U);
    for (QAction* const action : _view->GetEditActions() + _view->GetViewActions()) {
        EXPECT_FALSE(action->text().isEmpty());
        EXPECT_FALSE(action->shortcuts().isEmpty());
    }
    QTest::keyClick(&GetCanvas(), Qt::Key_Delete);
    EXPECT_TRUE(GetParts().empty());
    EXPECT_FALSE(_view->GetEditActions().front()->isEnabled());
    EXPECT_TRUE(Undo());
    EXPECT_TRUE(GetCanvas().accessibleDescription().contains(QStringLiteral("3")));
}

TEST_F(PlateViewTest, NumbersAreChangedAsTheyAreShown)
{
    NumbersPanel panel(_view->GetModel());
    const auto fields = panel.findChildren<QDoubleSpinBox*>();
    ASSERT_EQ(fields.size(), 8);
    EXPECT_FALSE(fields[0]->isEnabled());
    _selection.Set({GetId(0)});
    EXPECT_EQ(fields[0]->value(), 30);
    struct Row
    {
        int field;
        double value;
        TavAM::Point3d min; ///< of the part afterwards
    };
    // X, turn, scale, width: each changes one thing, and the other numbers follow.
    const Row rows[] = {{0, 50, {40, 20, 0}}, {3, 45, {35.857864, 15.857864, 0}},
                        {3, 0, {40, 20, 0}},  {4, 200, {30, 10, 0}},
                        {5, 20, {40, 20, 0}}, {2, 1.5, {40, 20, 1.5}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        fields[row.field]->setValue(row.value);
        const TavAM::Point3d min = GetParts()[0].GetBoundingBox().min;
        EXPECT_NEAR(min.x, row.min.x, 1e-4);
        EXPECT_NEAR(min.y, row.min.y, 1e-4);
        EXPECT_NEAR(min.z, row.min.z, 1e-4);
    }
    EXPECT_EQ(CountSteps(), std::size(rows));
    LengthText::SetUnit(LengthUnit::Inch);
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(&panel, &event);
    EXPECT_NEAR(fields[0]->value(), 50 / 25.4, 1e-4);
    fields[0]->setValue(1);
    EXPECT_NEAR(GetParts()[0].GetBoundingBox().min.x, 15.4, 0.01);
    LengthText::SetUnit(LengthUnit::Millimetre);
}

TEST_F(PlateViewTest, ProblemsAreListedAndLeadToTheirParts)
{
    ProblemsPanel panel(*_view);
    auto& list = *panel.findChild<QListWidget*>();
    GetParts()[0].SetPlacement(TavAM::Transform::Translation(-50, 20, 0));
    GetParts()[2].SetPlacement(GetParts()[1].GetPlacement());
    Announce();
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.GetCount() == 2; }));
    list.setCurrentRow(1);
    EXPECT_EQ(_selection.GetIds(), (std::vector{GetId(1), GetId(2)}));
    GetParts().clear();
    Announce();
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.GetCount() == 0; }));
}

TEST_F(PlateViewTest, ASceneMayCloseUnderIt)
{
    _host.GetDatabase().CloseDataSet(_host.scene);
    QTest::keyClick(_view.get(), Qt::Key_Delete);
    _view->ZoomToAll();
    _host.GetDatabase().Send(VexlorCore::OperationCompleted(0));
    EXPECT_TRUE(_view->GetModel().GetParts().empty());
    EXPECT_TRUE(WaitWhole());
}

} // namespace
