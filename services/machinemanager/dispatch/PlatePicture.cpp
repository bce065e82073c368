#include "machinemanager/dispatch/PlatePicture.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace MachineService::MachineManager {

namespace {

constexpr int Width = 320;
constexpr int Height = 240;
constexpr int Border = 12;
// Of more triangles a sample: what is missing between them is smaller than a pixel.
constexpr std::size_t MostTriangles = 1'500'000;

/// A point of the picture: to the right, downwards, and towards who looks.
struct Seen
{
    double x = 0;
    double y = 0;
    double depth = 0;
};

/// Turned by 30 degrees about the vertical, then tilted so that the plate is seen from above.
Seen Look(const TavAM::Point3d& i_point)
{
    const double turn = 0.5236;
    const double tilt = 0.6109;
    const double right = i_point.x * std::cos(turn) + i_point.y * std::sin(turn);
    const double away = -i_point.x * std::sin(turn) + i_point.y * std::cos(turn);
    return {right, -(i_point.z * std::cos(tilt) + away * std::sin(tilt)),
            i_point.z * std::sin(tilt) - away * std::cos(tilt)};
}

using Triangle = std::array<Seen, 3>;

class Canvas
{
public:
    Canvas()
        : _image(Width, Height, QImage::Format_ARGB32)
        , _depths(static_cast<std::size_t>(Width) * Height, -std::numeric_limits<double>::infinity())
    {
        _image.fill(Qt::transparent);
    }

    void Draw(const Triangle& i_triangle)
    {
        const auto& [a, b, c] = i_triangle;
        const double area = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
        // What is smaller than a pixel is seen nevertheless.
        if (std::abs(area) < 1)
            _DrawPoint(i_triangle);
        if (area == 0)
            return;
        const QRgb colour = GetShade(i_triangle);
        const auto [left, right] = std::minmax({a.x, b.x, c.x});
        const auto [top, bottom] = std::minmax({a.y, b.y, c.y});
        for (int y = std::max(0, static_cast<int>(top)); y <= std::min(Height - 1, static_cast<int>(bottom) + 1); ++y) {
            for (int x = std::max(0, static_cast<int>(left)); x <= std::min(Width - 1, static_cast<int>(right) + 1);
                 ++x) {
                const double u = ((x - a.x) * (c.y - a.y) - (y - a.y) * (c.x - a.x)) / area;
                const double v = ((b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x)) / area;
                if (u >= 0 && v >= 0 && u + v <= 1)
                    _Set(x, y, a.depth + u * (b.depth - a.depth) + v * (c.depth - a.depth), colour);
            }
        }
    }
    std::string GetPng() const
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        return _image.save(&buffer, "PNG") ? bytes.toStdString() : std::string();
    }

private:
    /// By how much the face is turned towards who looks.
    static QRgb GetShade(const Triangle& i_triangle)
    {
        const auto& [a, b, c] = i_triangle;
        const std::array<double, 3> u = {b.x - a.x, b.y - a.y, b.depth - a.depth};
        const std::array<double, 3> v = {c.x - a.x, c.y - a.y, c.depth - a.depth};
        const std::array<double, 3> normal = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                                              u[0] * v[1] - u[1] * v[0]};
        const double length = std::hypot(normal[0], normal[1], normal[2]);
        // Light from above and from the left.
        const double light = length == 0 ? 0 : std::abs(-0.35 * normal[0] - 0.6 * normal[1] + 0.7 * normal[2]) / length;
        const auto tone = [light](int i_full) {
            return std::clamp(static_cast<int>(i_full * (0.4 + 0.6 * light)), 0, 255);
        };
        return qRgb(tone(96), tone(150), tone(205));
    }
    void _DrawPoint(const Triangle& i_triangle)
    {
        const auto x = static_cast<int>(std::lround(i_triangle[0].x));
        const auto y = static_cast<int>(std::lround(i_triangle[0].y));
        if (x >= 0 && x < Width && y >= 0 && y < Height)
            _Set(x, y, i_triangle[0].depth, GetShade(i_triangle));
    }
    void _Set(int i_x, int i_y, double i_depth, QRgb i_colour)
    {
        auto& depth = _depths[static_cast<std::size_t>(i_y) * Width + static_cast<std::size_t>(i_x)];
        if (i_depth <= depth)
            return;
        depth = i_depth;
        _image.setPixel(i_x, i_y, i_colour);
    }

    QImage _image;
    std::vector<double> _depths;
};

std::vector<Triangle> GatherTriangles(const TavAM::Platform& i_platform)
{
    std::size_t count = 0;
    for (const auto& part : i_platform.GetParts())
        part.GetRepresentation().ForEachMesh(
            part.GetPlacement(),
            [&](const TavAM::Mesh& i_mesh, const TavAM::Transform&) { count += i_mesh.triangles.size(); });
    const std::size_t step = 1 + count / MostTriangles;
    std::vector<Triangle> triangles;
    triangles.reserve(count / step + 1);
    for (const auto& part : i_platform.GetParts()) {
        part.GetRepresentation().ForEachMesh(
            part.GetPlacement(), [&](const TavAM::Mesh& i_mesh, const TavAM::Transform& i_placement) {
                const auto see = [&](std::uint32_t i_vertex) {
                    const auto& vertex = i_mesh.vertices[i_vertex];
                    return Look(i_placement.Apply({vertex.x, vertex.y, vertex.z}));
                };
                for (std::size_t place = 0; place < i_mesh.triangles.size(); place += step) {
                    const auto& corners = i_mesh.triangles[place];
                    triangles.push_back({see(corners[0]), see(corners[1]), see(corners[2])});
                }
            });
    }
    return triangles;
}

/// All of it within the border.
void Fit(std::vector<Triangle>& io_triangles)
{
    constexpr double most = std::numeric_limits<double>::max();
    double left = most;
    double right = -most;
    double top = most;
    double bottom = -most;
    for (const auto& triangle : io_triangles) {
        for (const auto& corner : triangle) {
            left = std::min(left, corner.x);
            right = std::max(right, corner.x);
            top = std::min(top, corner.y);
            bottom = std::max(bottom, corner.y);
        }
    }
    const double scale = std::min((Width - 2 * Border) / std::max(right - left, 1e-3),
                                  (Height - 2 * Border) / std::max(bottom - top, 1e-3));
    for (auto& triangle : io_triangles) {
        for (auto& corner : triangle)
            corner = {Width / 2.0 + (corner.x - (left + right) / 2) * scale,
                      Height / 2.0 + (corner.y - (top + bottom) / 2) * scale, corner.depth * scale};
    }
}

} // namespace

std::string DrawPlate(const TavAM::Platform& i_platform)
{
    auto triangles = GatherTriangles(i_platform);
    if (triangles.empty())
        return {};
    Fit(triangles);
    Canvas canvas;
    for (const auto& triangle : triangles)
        canvas.Draw(triangle);
    return canvas.GetPng();
}

} // namespace MachineService::MachineManager
