#include "sdk/tavam/PlatformSamples.h"

namespace {

using namespace TavAM;

TEST(GeometryTest, VolumeFollowsPlacementAndOrientation)
{
    const auto mesh = MakeTetrahedron(6);
    EXPECT_NEAR(GetVolume(*mesh, {}), 36, 1e-9);
    EXPECT_NEAR(GetVolume(*mesh, Transform::Translation(1e6, -1e6, 1e6)), 36, 1e-9);
    EXPECT_NEAR(GetVolume(*mesh, {{2, 0, 0, 5, 0, 1, 0, 0, 0, 0, 1, 0}}), 72, 1e-9);
    EXPECT_NEAR(GetVolume(*mesh, {{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}}), -36, 1e-9);
    for (auto& triangle : mesh->triangles)
        std::swap(triangle[0], triangle[1]);
    EXPECT_NEAR(GetVolume(*mesh, {}), -36, 1e-9);
    EXPECT_EQ(GetVolume({}, {}), 0);
}

TEST(GeometryTest, MembersAreVisitedAsPlaced)
{
    const Transform quarterTurn{{0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0}};
    Representation inner = Representation::FromMesh(MakeTetrahedron(1));
    inner.SetPlacement(Transform::Translation(10, 0, 0));
    Representation middle = Representation::FromMembers({inner, Representation::FromImplicit("x")});
    middle.SetPlacement(quarterTurn);
    Part part;
    part.SetRepresentation(Representation::FromMembers({middle}));
    part.SetPlacement(Transform::Translation(0, 0, 5));
    // First 10 along x, then turned to 10 along y, then up.
    const BoundingBox box = part.GetBoundingBox();
    EXPECT_EQ(box.min, (Point3d{-1, 10, 5}));
    EXPECT_EQ(box.max, (Point3d{0, 11, 6}));
    // A copy that is moved, then turned; the first stays what it is.
    Part copy = part;
    copy.SetPlacement(Transform::Translation(1, 2, 3));
    EXPECT_EQ(copy.GetBoundingBox().min, (Point3d{0, 12, 3}));
    copy.SetPlacement(quarterTurn);
    EXPECT_EQ(copy.GetBoundingBox().max, (Point3d{-10, 0, 1}));
    EXPECT_EQ(part.GetBoundingBox().max, box.max);
    EXPECT_TRUE(part.GetRepresentation().Holds(RepresentationKind::Implicit));
    EXPECT_FALSE(part.GetRepresentation().Holds(RepresentationKind::Brep));
    part.SetRepresentation(Representation::FromMembers({Representation::FromBrep("")}));
    EXPECT_TRUE(part.GetBoundingBox().IsEmpty());
    EXPECT_THROW(Representation::FromMesh(nullptr), std::runtime_error);
}

} // namespace
