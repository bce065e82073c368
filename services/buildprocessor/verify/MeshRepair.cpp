#include "buildprocessor/verify/MeshRepair.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/Subprocess.h"
#include "buildprocessor/verify/MeshCheck.h"
#include "client/interface/ScopedTempDir.h"
#include "contract/Failure.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace MachineService::BuildProcessor {

namespace {

constexpr const char* Program = "/usr/bin/admesh";
constexpr std::chrono::minutes Deadline(5);
constexpr std::size_t HeaderSize = 80;
constexpr std::size_t TriangleSize = 50; ///< normal, three corners, two bytes
// A closed surface has its holes in a frame: where what was added is more than this share of what was there, the mesh
// was a sheet, and closing it makes a body that nobody drew.
constexpr double MaxAddedArea = 0.25;
constexpr double MaxLostArea = 0.001;

static_assert(std::endian::native == std::endian::little, "binary STL is little-endian");

void AppendPoint(std::string& io_bytes, const TavAM::Point3f& i_point)
{
    const float values[] = {i_point.x, i_point.y, i_point.z};
    char bytes[sizeof values];
    std::memcpy(bytes, values, sizeof values);
    io_bytes.append(bytes, sizeof bytes);
}

void WriteStl(const TavAM::Mesh& i_mesh, const std::filesystem::path& i_path)
{
    std::string bytes(HeaderSize, ' ');
    bytes.reserve(HeaderSize + sizeof(std::uint32_t) + i_mesh.triangles.size() * TriangleSize);
    const auto count = static_cast<std::uint32_t>(i_mesh.triangles.size());
    char countBytes[sizeof count];
    std::memcpy(countBytes, &count, sizeof count);
    bytes.append(countBytes, sizeof countBytes);
    for (const auto& triangle : i_mesh.triangles) {
        AppendPoint(bytes, {});
        for (const std::uint32_t vertex : triangle)
            AppendPoint(bytes, i_mesh.vertices[vertex]);
        bytes.append(2, '\0');
    }
    std::ofstream file(i_path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        Fail(ErrorCode::FileError, "The file '" + i_path.string() + "' for mending a mesh cannot be written.");
}

std::optional<TavAM::Mesh> ReadStl(const std::filesystem::path& i_path, const std::stop_token& i_stop)
{
    std::ifstream file(i_path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    constexpr std::size_t begin = HeaderSize + sizeof(std::uint32_t);
    std::uint32_t count = 0;
    if (bytes.size() < begin)
        return {};
    std::memcpy(&count, bytes.data() + HeaderSize, sizeof count);
    if (count == 0 || bytes.size() != begin + std::size_t{count} * TriangleSize)
        return {};
    TavAM::Mesh corners;
    corners.vertices.reserve(std::size_t{count} * 3);
    for (std::uint32_t index = 0; index < count * 3; ++index) {
        float values[3];
        const std::size_t at = begin + index / 3 * TriangleSize + sizeof values * (1 + index % 3);
        std::memcpy(values, bytes.data() + at, sizeof values);
        corners.vertices.push_back({values[0], values[1], values[2]});
        if (index % 3 == 2)
            corners.triangles.push_back({index - 2, index - 1, index});
    }
    return JoinVertices(corners, i_stop);
}

bool IsSameShape(const TavAM::Mesh& i_before, const TavAM::Mesh& i_after, const std::stop_token& i_stop)
{
    if (!TavAM::FindMeshDefect(i_after).empty())
        return false;
    constexpr double tolerance = 0.005;
    const auto before = TavAM::GetBoundingBox(i_before, {});
    const auto after = TavAM::GetBoundingBox(i_after, {});
    for (const auto axis : {&TavAM::Point3d::x, &TavAM::Point3d::y, &TavAM::Point3d::z}) {
        if (std::abs(before.min.*axis - after.min.*axis) > tolerance ||
            std::abs(before.max.*axis - after.max.*axis) > tolerance)
            return false;
    }
    const double areaBefore = CheckMesh(i_before, i_stop).area;
    const double areaAfter = CheckMesh(i_after, i_stop).area;
    return areaAfter >= areaBefore * (1 - MaxLostArea) && areaAfter <= areaBefore * (1 + MaxAddedArea);
}

} // namespace

bool CanRepairMeshes()
{
    return access(Program, X_OK) == 0;
}

std::optional<TavAM::Mesh> RepairMesh(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop)
{
    const ScopedTempDir workDir;
    const auto before = workDir.GetAbsoluteFileNameInTempDir("open.stl");
    const auto after = workDir.GetAbsoluteFileNameInTempDir("closed.stl");
    WriteStl(i_mesh, before);
    ThrowIfStopped(i_stop);
    SubprocessOptions options;
    options.command = {Program, "--tolerance=0.001", "--iterations=1", "--write-binary-stl=" + after.string(),
                       before.string()};
    options.tempDir = workDir.GetAbsoluteDir();
    options.deadline = Deadline;
    const auto result = RunSubprocess(options, i_stop);
    if (result.end == SubprocessResult::End::Stopped)
        throw CommunicationException(ErrorCode::ProcessingAborted);
    if (result.end != SubprocessResult::End::Exited || result.code != 0)
        return {};
    auto mesh = ReadStl(after, i_stop);
    if (!mesh || !CheckMesh(*mesh, i_stop).IsClosed() || !IsSameShape(i_mesh, *mesh, i_stop))
        return {};
    return mesh;
}

} // namespace MachineService::BuildProcessor
