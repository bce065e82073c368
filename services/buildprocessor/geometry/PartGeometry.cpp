#include "buildprocessor/geometry/PartGeometry.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/NameList.h"
#include "contract/Failure.h"
#include "tavsdk/Utf8.h"

#include <utility>

namespace MachineService::BuildProcessor {

PartGeometry GetGeometry(const TavAM::Part& i_part, std::size_t i_index)
{
    PartGeometry geometry;
    geometry.name = GetPartLabel(i_part, i_index);
    i_part.GetRepresentation().ForEachMesh(
        i_part.GetPlacement(), [&](const TavAM::Mesh& i_mesh, const TavAM::Transform& i_placement) {
            const auto first = static_cast<std::uint32_t>(geometry.vertices.size());
            for (const TavAM::Point3f& point : i_mesh.vertices) {
                geometry.vertices.push_back(i_placement.Apply({point.x, point.y, point.z}));
                geometry.box.Add(geometry.vertices.back());
            }
            // A mirroring placement turns the surface inside out; the engine is to see it as it was.
            const auto& rows = i_placement.rows;
            const double determinant = rows[0] * (rows[5] * rows[10] - rows[6] * rows[9]) -
                                       rows[1] * (rows[4] * rows[10] - rows[6] * rows[8]) +
                                       rows[2] * (rows[4] * rows[9] - rows[5] * rows[8]);
            for (auto triangle : i_mesh.triangles) {
                if (determinant < 0)
                    std::swap(triangle[1], triangle[2]);
                for (auto& index : triangle)
                    index += first;
                geometry.triangles.push_back(triangle);
            }
        });
    return geometry;
}

TavAM::BoundingBox GetBoxBelow(const PartGeometry& i_part, double i_z)
{
    TavAM::BoundingBox box;
    for (const auto& triangle : i_part.triangles) {
        for (std::size_t index = 0; index < 3; ++index) {
            const TavAM::Point3d& from = i_part.vertices[triangle[index]];
            const TavAM::Point3d& to = i_part.vertices[triangle[(index + 1) % 3]];
            if (from.z <= i_z)
                box.Add(from);
            if ((from.z < i_z) != (to.z < i_z)) {
                const double share = (i_z - from.z) / (to.z - from.z);
                box.Add(TavAM::Point3d{from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share, i_z});
            }
        }
    }
    return box;
}

std::string GetPartLabel(const TavAM::Part& i_part, std::size_t i_index)
{
    if (i_part.GetName().empty())
        return "part " + std::to_string(i_index + 1);
    return TavSDK::ToUtf8(i_part.GetName());
}

std::vector<PartGeometry> GetGeometries(const TavAM::Platform& i_platform, const std::stop_token& i_stop)
{
    std::vector<PartGeometry> geometries;
    std::vector<std::string> withoutMesh;
    for (const TavAM::Part& part : i_platform.GetParts()) {
        ThrowIfStopped(i_stop);
        geometries.push_back(GetGeometry(part, geometries.size()));
        const auto& representation = part.GetRepresentation();
        if (geometries.back().triangles.empty() || representation.Holds(TavAM::RepresentationKind::Implicit) ||
            representation.Holds(TavAM::RepresentationKind::Brep))
            withoutMesh.push_back(geometries.back().name);
    }
    if (geometries.empty())
        Fail(ErrorCode::FileError, "There is no part on the platform.");
    if (!withoutMesh.empty())
        Fail(ErrorCode::FileError,
             "These parts are not meshes, or not altogether, and cannot be built: " + JoinNames(withoutMesh) + '.');
    return geometries;
}

} // namespace MachineService::BuildProcessor
