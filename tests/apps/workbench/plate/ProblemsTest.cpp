#include "apps/workbench/plate/PlateFixture.h"

#include "workbench/plate/PlateModel.h"
#include "workbench/plate/ProblemFinder.h"

namespace {

using namespace Workbench;
using Kind = PlateProblem::Kind;
using PlateTest::MakeBall;
using PlateTest::MakeBox;
using PlateTest::MakePart;

using ProblemsTest = PlateTest::Fixture;

TEST_F(ProblemsTest, AreThoseThatMachinesRefuse)
{
    const std::vector<MachineLayer::Data::NoBuildZone> zones{{L"clip", 90, 40, 0, 110, 60, 5},
                                                             {L"arm", 0, 0, 100, 200, 100, 120}};
    struct Row
    {
        const char* what;
        double depth; ///< of the bed; 0: round
        std::vector<TavAM::Part> parts;
        std::vector<Kind> kinds;
    };
    const auto box = [](double i_x, double i_y, double i_z = 0, float i_height = 10) {
        return MakePart(L"box", MakeBox(10, 10, i_height), i_x, i_y, i_z);
    };
    const Row rows[] = {
        {"to the edge, and beyond by what text loses", 100, {box(-0.009, 0), box(190, 90)}, {}},
        {"over the edge", 100, {box(-0.02, 0)}, {Kind::OutsideBed}},
        {"beside and below", 100, {box(0, 300, -1)}, {Kind::OutsideBed, Kind::BelowPlate}},
        {"too high", 100, {box(0, 20, 0, 130)}, {Kind::TooHigh, Kind::InZone}},
        {"in the corner of a round bed", 0, {box(20, 20)}, {Kind::OutsideBed}},
        {"a ball where its box leaves the round bed", 0, {MakePart(L"ball", MakeBall(20, 30), 51, 51)}, {}},
        {"in a zone", 100, {box(85, 35)}, {Kind::InZone}},
        {"beside a zone", 100, {box(80, 35)}, {}},
        {"above a zone", 100, {box(95, 45, 5)}, {}},
        {"touching", 100, {box(10, 10), box(20, 10)}, {}},
        {"in each other", 100, {box(10, 10), box(19, 10)}, {Kind::Collision}},
        {"one inside the other",
         100,
         {MakePart(L"large", MakeBox(50, 50, 50), 0, 0), box(20, 20, 20)},
         {Kind::Collision}},
        {"balls whose boxes alone meet",
         100,
         {MakePart(L"a", MakeBall(20, 10), 30, 30), MakePart(L"b", MakeBall(20, 10), 46, 46)},
         {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        SetBed(200, row.depth, zones);
        GetParts() = row.parts;
        const PlateModel model(*_host.scene, _selection);
        std::vector<Kind> kinds;
        for (const PlateProblem& problem : FindProblems(model.GetBed(), model.GetParts(), {})) {
            kinds.push_back(problem.kind);
            EXPECT_TRUE(problem.Concerns(GetId(0)));
            EXPECT_TRUE(problem.text.contains(QStringLiteral("box")) || problem.text.contains(QStringLiteral("large")));
        }
        EXPECT_EQ(kinds, row.kinds);
    }
}

TEST_F(ProblemsTest, FollowTheSceneWithoutKeepingTheWindowWaiting)
{
    SetBed(200, 100);
    // Two fine balls in the same place: this search takes seconds unless it is given up.
    GetParts() = {MakePart(L"one", MakeBall(500, 30), 50, 50), MakePart(L"two", MakeBall(500, 30), 50.3, 50.2)};
    PlateModel model(*_host.scene, _selection);
    {
        QElapsedTimer timer;
        timer.start();
        ProblemFinder given(model);
        EXPECT_TRUE(given.IsBusy());
    }
    GetParts() = {MakePart(L"one", MakeBox(10, 10, 10), 10, 10), MakePart(L"two", MakeBox(10, 10, 10), 15, 10)};
    Announce();
    ProblemFinder finder(model);
    QSignalSpy finished(&finder, &ProblemFinder::Finished);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !finder.IsBusy(); }));
    EXPECT_EQ(model.GetProblems().size(), 1U);
    EXPECT_TRUE(model.GetParts()[1].hasProblem);
    GetParts()[1].SetPlacement(TavAM::Transform::Translation(60, 10, 0));
    Announce();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !finder.IsBusy(); }));
    EXPECT_TRUE(model.GetProblems().empty());
    EXPECT_EQ(finished.count(), 2);
}

} // namespace
