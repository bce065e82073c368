#include "buildprocessor/verify/PartMeshes.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/NameList.h"
#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/verify/MeshCheck.h"
#include "buildprocessor/verify/MeshRepair.h"
#include "contract/Failure.h"

#include <QString>

#include <memory>
#include <optional>
#include <utility>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxSentences = 5;

std::string Count(std::size_t i_count, const char* ip_one, const char* ip_many)
{
    return std::to_string(i_count) + ' ' + (i_count == 1 ? ip_one : ip_many);
}

std::string At(const TavAM::Part& i_part, const TavAM::Point3f& i_point)
{
    const TavAM::Point3d placed = i_part.GetPlacement().Apply({i_point.x, i_point.y, i_point.z});
    const auto number = [](double i_value) {
        return QString::number(i_value, 'f', 2).toStdString();
    };
    return '(' + number(placed.x) + ", " + number(placed.y) + ", " + number(placed.z) + ')';
}

/// All meshes of a part as one, in the part's own coordinates.
std::shared_ptr<const TavAM::Mesh> GetWholeMesh(const TavAM::Part& i_part)
{
    const auto& representation = i_part.GetRepresentation();
    if (representation.GetMesh() && representation.GetPlacement() == TavAM::Transform())
        return representation.GetMesh();
    TavAM::Part unplaced = i_part;
    unplaced.SetPlacement({});
    const PartGeometry geometry = GetGeometry(unplaced, 0);
    auto whole = std::make_shared<TavAM::Mesh>();
    for (const TavAM::Point3d& point : geometry.vertices)
        whole->vertices.push_back(
            {static_cast<float>(point.x), static_cast<float>(point.y), static_cast<float>(point.z)});
    whole->triangles = geometry.triangles;
    return whole;
}

std::string DescribeFault(const TavAM::Part& i_part, const std::string& i_name, const MeshFindings& i_findings)
{
    const std::string where =
        "between " + At(i_part, i_findings.firstEdge.from) + " and " + At(i_part, i_findings.firstEdge.to) + " mm";
    const std::string start = "The mesh of " + i_name;
    if (i_findings.openEdges > 0)
        return start + " is not closed: it has " + Count(i_findings.holes, "hole", "holes") + " with " +
               Count(i_findings.openEdges, "open edge", "open edges") + ", the first " + where +
               (CanRepairMeshes()
                    ? ", and could not be mended; close it in the program that it comes from."
                    : "; close it in the program that it comes from, or install the package admesh, which "
                      "closes holes.");
    if (i_findings.turnedEdges > 0)
        return start + " does not tell inside from outside: its triangles face opposite ways at " +
               Count(i_findings.turnedEdges, "edge", "edges") + ", the first " + where +
               "; unify its normals in the program that it comes from.";
    return start + " encloses no volume: it is flat; give it a thickness.";
}

std::string DescribeRepair(const std::string& i_name, const MeshFindings& i_findings)
{
    const std::string start = "The mesh of " + i_name;
    if (i_findings.openEdges > 0)
        return start + " had " + Count(i_findings.holes, "hole; it was closed.", "holes; they were closed.");
    if (i_findings.turnedEdges > 0)
        return start + " had triangles that faced inwards; they were turned.";
    return start + (i_findings.turnedBodies == 1 ? " was inside out; it was turned right."
                                                 : " had " + std::to_string(i_findings.turnedBodies) +
                                                       " bodies inside out; they were turned right.");
}

/// What takes the place of the part's mesh; empty when nothing can.
std::optional<TavAM::Mesh> Mend(const TavAM::Mesh& i_mesh, const MeshFindings& i_findings,
                                const std::stop_token& i_stop)
{
    std::optional<TavAM::Mesh> mended;
    if (i_findings.IsClosed())
        mended = TurnBodiesRight(i_findings.hasDoubles ? JoinVertices(i_mesh, i_stop) : i_mesh, i_stop);
    else if (CanRepairMeshes())
        mended = RepairMesh(i_mesh, i_stop);
    if (!mended)
        return {};
    if (CheckMesh(*mended, i_stop).turnedBodies > 0)
        mended = TurnBodiesRight(*mended, i_stop);
    return CheckMesh(*mended, i_stop).IsSound() ? mended : std::nullopt;
}

} // namespace

std::vector<std::string> MendParts(TavAM::Platform& io_platform, const std::stop_token& i_stop)
{
    std::vector<std::string> notes;
    std::vector<std::string> faults;
    // Copies of a part share their mesh.
    std::shared_ptr<const TavAM::Mesh> soundMesh;
    auto& parts = io_platform.GetParts();
    for (std::size_t index = 0; index < parts.size(); ++index) {
        ThrowIfStopped(i_stop);
        TavAM::Part& part = parts[index];
        const auto mesh = GetWholeMesh(part);
        if (mesh->triangles.empty() || mesh == soundMesh)
            continue;
        const MeshFindings findings = CheckMesh(*mesh, i_stop);
        const auto replace = [&](TavAM::Mesh i_mesh) {
            part.SetRepresentation(
                TavAM::Representation::FromMesh(std::make_shared<const TavAM::Mesh>(std::move(i_mesh))));
        };
        if (findings.IsSound()) {
            if (findings.hasDoubles)
                replace(JoinVertices(*mesh, i_stop));
            else
                soundMesh = mesh;
            continue;
        }
        const std::string name = JoinNames({GetPartLabel(part, index)});
        auto mended = Mend(*mesh, findings, i_stop);
        if (!mended) {
            faults.push_back(DescribeFault(part, name, findings));
            continue;
        }
        notes.push_back(DescribeRepair(name, findings));
        part.SetRepresentation(
            TavAM::Representation::FromMesh(std::make_shared<const TavAM::Mesh>(std::move(*mended))));
    }
    if (faults.empty())
        return notes;
    std::string text = faults.front();
    for (std::size_t index = 1; index < std::min(faults.size(), MaxSentences); ++index)
        text += ' ' + faults[index];
    if (faults.size() > MaxSentences)
        text += " The meshes of " + std::to_string(faults.size() - MaxSentences) + " more parts are damaged, too.";
    Fail(ErrorCode::FileError, text);
}

} // namespace MachineService::BuildProcessor
