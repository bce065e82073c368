#include "apps/workbench/plate/PlateFixture.h"

#include "workbench/plate/Camera.h"
#include "workbench/plate/MeshForms.h"
#include "workbench/plate/MeshStore.h"
#include "workbench/plate/Picking.h"
#include "workbench/plate/PlateModel.h"

#include <set>

namespace {

using namespace Workbench;
using PlateTest::MakeBall;
using PlateTest::MakeBox;
using PlateTest::MakePart;

using PlateDrawingTest = PlateTest::Fixture;

TEST(MeshForms, EdgesStaySharpCurvesSmoothAndCoarseFormsKeepTheirShare)
{
    EXPECT_EQ(MakeMeshForms(*MakeBox(10, 20, 30), {})->vertices.size(), 24U); // three normals at each corner
    const auto ball = MakeBall(100, 30);
    const auto forms = MakeMeshForms(*ball, {});
    EXPECT_EQ(forms->vertices.size(), ball->vertices.size());
    ASSERT_GE(forms->grades.size(), 4U);
    EXPECT_EQ(forms->grades.front().count, ball->triangles.size() * 3);
    for (const std::size_t most : {10'000U, 3000U, 600U})
        EXPECT_LE(FindGrade(forms->grades, most).count / 3, most);
    // What is drawn coarsely still fills the ball's box, and no index leads astray.
    TavAM::BoundingBox box;
    for (const TavAM::Point3f& point : MakeCoarseMesh(*forms).vertices)
        box.Add(TavAM::Point3d{point.x, point.y, point.z});
    EXPECT_NEAR(box.max.x - box.min.x, 60, 6);
    EXPECT_LT(*std::max_element(forms->indices.begin(), forms->indices.end()), forms->vertices.size());
    // A fan without thickness, and no triangle at all.
    EXPECT_NE(MakeMeshForms({{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{{0, 1, 2}}}}, {}), nullptr);
    EXPECT_NE(MakeMeshForms({}, {}), nullptr);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(MakeMeshForms(*ball, stop.get_token()), nullptr);
}

TEST(MeshStore, MakesEachMeshOnceAndForgetsWhatIsGone)
{
    MeshStore store;
    const MeshStore::MeshPointer one = MakeBox(1, 2, 3), two = MakeBall(300, 10);
    QSignalSpy ready(&store, &MeshStore::Ready);
    store.Keep({one, two});
    store.Keep({two, one});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !store.IsBusy(); }));
    EXPECT_EQ(ready.count(), 2);
    ASSERT_NE(store.Find(*one), nullptr);
    // A mesh that went and came back meanwhile is to be sent again.
    const auto before = store.GetSources({one});
    store.Keep({two});
    store.Keep({one, two});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !store.IsBusy(); }));
    store.ReleaseForms(before.front());
    EXPECT_NE(store.Find(*one)->forms, nullptr);
    store.ReleaseForms(store.GetSources({one}).front());
    EXPECT_EQ(store.Find(*one)->forms, nullptr);
    store.Keep({one});
    EXPECT_EQ(store.Find(*two), nullptr);
}

TEST(Camera, WhatItProjectsItFindsAgain)
{
    for (const bool isFlat : {false, true}) {
        for (int view = 0; view < 7; ++view) {
            Camera camera(isFlat);
            camera.SetViewport({900, 500});
            camera.SetStandardView(static_cast<StandardView>(view));
            const TavAM::BoundingBox box{{-20, 10, 0}, {120, 90, 60}};
            camera.Fit(box);
            SCOPED_TRACE(view);
            bool touches = false;
            for (int corner = 0; corner < 8; ++corner) {
                const QPointF at = camera.Project(
                    {(corner & 1) ? 120.0 : -20.0, (corner & 2) ? 90.0 : 10.0, (corner & 4) ? 60.0 : 0.0});
                EXPECT_TRUE(QRectF(0, 0, 900, 500).contains(at)) << at.x() << ' ' << at.y();
                touches = touches || !QRectF(80, 45, 740, 410).contains(at);
            }
            EXPECT_TRUE(touches); // no smaller than need be
            const QPointF pixel = camera.Project({30, 40, 5});
            TavAM::Point3d found;
            if (camera.FindOnLevel(pixel, 5, found)) {
                EXPECT_NEAR(found.x, 30, 0.1);
                EXPECT_NEAR(found.y, 40, 0.1);
            } else {
                EXPECT_TRUE(view >= 1 && view <= 4); // along the level
            }
            const QPointF anchor(200, 120);
            const Ray before = camera.GetRay(anchor);
            camera.Zoom(0.5, anchor);
            const Ray after = camera.GetRay(anchor);
            // The same line of sight: the new eye lies on the old ray.
            EXPECT_NEAR(camera
                            .Project({before.origin.x + before.direction.x, before.origin.y + before.direction.y,
                                      before.origin.z + before.direction.z})
                            .x(),
                        anchor.x(), 1);
            EXPECT_NEAR(after.direction.x * before.direction.y, after.direction.y * before.direction.x, 1);
        }
    }
}

TEST_F(PlateDrawingTest, PicksTheNearestSurfaceAndFramesMiddles)
{
    SetBed(200, 100);
    GetParts() = {MakePart(L"low", MakeBox(40, 40, 5), 30, 30), MakePart(L"high", MakeBox(10, 10, 50), 45, 45, 5),
                  MakePart(L"far", MakeBox(10, 10, 10), 150, 80)};
    const PlateModel model(*_host.scene, _selection);
    Camera camera;
    camera.SetViewport({800, 600});
    camera.SetStandardView(StandardView::Top);
    camera.Fit(model.GetBed().GetBox());
    const auto pick = [&](const TavAM::Point3d& i_at) {
        return PickPart(model, camera, camera.Project(i_at));
    };
    ASSERT_TRUE(pick({50, 50, 55}));
    EXPECT_EQ(pick({50, 50, 55})->part, GetId(1));
    EXPECT_NEAR(pick({50, 50, 55})->at.z, 55, 0.1);
    EXPECT_EQ(pick({35, 35, 5})->part, GetId(0));
    EXPECT_FALSE(pick({100, 20, 0}));
    const QRectF frame(camera.Project({20, 80, 0}), camera.Project({80, 20, 0}));
    EXPECT_EQ(PickFrame(model, camera, frame.normalized()), (std::vector{GetId(0), GetId(1)}));
}

TEST_F(PlateDrawingTest, TheBedIsThatOfThePlatformAndZonesCount)
{
    EXPECT_FALSE(GetBed(*_host.scene).isKnown);
    SetBed(260, 0, {{L"clip", 0, 0, 0, 10, 10, 5}});
    const PlateBed bed = GetBed(*_host.scene);
    EXPECT_TRUE(bed.isKnown && bed.isCircular);
    EXPECT_EQ(bed.maxX, 260);
    EXPECT_EQ(bed.height, 120);
    EXPECT_EQ(bed.zones.size(), 1U);
}

} // namespace
