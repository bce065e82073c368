#include "hosting/RowPlacement.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Hosting {

namespace {

constexpr double Gap = 5.0;

struct Row
{
    std::vector<std::size_t> parts;
    double width = 0;
    double depth = 0;
};

double Width(const TavAM::BoundingBox& i_box)
{
    return i_box.max.x - i_box.min.x;
}

double Depth(const TavAM::BoundingBox& i_box)
{
    return i_box.max.y - i_box.min.y;
}

} // namespace

void PlaceInRows(std::vector<TavAM::Part>& io_parts, const MachineService::BuildVolume& i_volume)
{
    double usable = i_volume.maxX - i_volume.minX - 2 * Gap;
    if (i_volume.isCircular)
        usable /= std::sqrt(2.0); // the square inside the circle

    std::vector<TavAM::BoundingBox> boxes;
    std::vector<Row> rows;
    double depth = -Gap;
    for (std::size_t index = 0; index < io_parts.size(); ++index) {
        const auto& box = boxes.emplace_back(io_parts[index].GetBoundingBox());
        if (box.IsEmpty())
            continue;
        if (rows.empty() || rows.back().width + Gap + Width(box) > usable)
            rows.emplace_back().width = -Gap;
        Row& row = rows.back();
        row.parts.push_back(index);
        row.width += Gap + Width(box);
        row.depth = std::max(row.depth, Depth(box));
    }
    for (const Row& row : rows)
        depth += Gap + row.depth;

    double y = (i_volume.minY + i_volume.maxY - depth) / 2;
    for (const Row& row : rows) {
        double x = (i_volume.minX + i_volume.maxX - row.width) / 2;
        for (const std::size_t index : row.parts) {
            const auto& box = boxes[index];
            TavAM::Part& part = io_parts[index];
            const auto move =
                TavAM::Transform::Translation(x - box.min.x, y + (row.depth - Depth(box)) / 2 - box.min.y, -box.min.z);
            part.SetPlacement(move.After(part.GetPlacement()));
            x += Width(box) + Gap;
        }
        y += row.depth + Gap;
    }
}

} // namespace Hosting
