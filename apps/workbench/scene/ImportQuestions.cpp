#include "workbench/scene/ImportQuestions.h"

#include <algorithm>

namespace Workbench {

namespace {

constexpr double SmallestPlausible = 1;
constexpr double LargestPlausible = 2000;

bool IsPlausible(double i_length)
{
    return i_length >= SmallestPlausible && i_length <= LargestPlausible;
}

} // namespace

TavAM::Point3d GetSize(const std::vector<TavAM::Part>& i_parts)
{
    TavAM::BoundingBox box;
    for (const TavAM::Part& part : i_parts)
        box.Add(part.GetBoundingBox());
    if (box.IsEmpty())
        return {};
    return {box.max.x - box.min.x, box.max.y - box.min.y, box.max.z - box.min.z};
}

std::vector<double> GetUnitChoices(const ImportedFile& i_file)
{
    if (i_file.path.endsWith(QLatin1String(".3mf"), Qt::CaseInsensitive))
        return {};
    const auto size = GetSize(i_file.parts);
    const double largest = std::max({size.x, size.y, size.z});
    if (largest <= 0 || IsPlausible(largest))
        return {};
    std::vector<double> choices;
    // Inches and metres are what is met beside millimetres, then centimetres and micrometres.
    for (const double factor : {25.4, 1000.0, 10.0, 0.001}) {
        if (IsPlausible(largest * factor))
            choices.push_back(factor);
    }
    if (!choices.empty())
        choices.push_back(1);
    return choices;
}

double GetFittingScale(const std::vector<TavAM::Part>& i_parts, const MachineService::BuildVolume& i_volume)
{
    double scale = 1;
    for (const TavAM::Part& part : i_parts) {
        const auto size = GetSize({part});
        const auto fit = [&](double i_length, double i_room) {
            if (i_length > i_room && i_length > 0)
                scale = std::min(scale, i_room / i_length);
        };
        fit(size.x, i_volume.maxX - i_volume.minX);
        fit(size.y, i_volume.maxY - i_volume.minY);
        fit(size.z, i_volume.height);
    }
    return scale;
}

void Scale(std::vector<TavAM::Part>& io_parts, double i_factor)
{
    TavAM::Transform scaling;
    for (const std::size_t diagonal : {0, 5, 10})
        scaling.rows[diagonal] = i_factor;
    for (TavAM::Part& part : io_parts)
        part.SetPlacement(scaling.After(part.GetPlacement()));
}

} // namespace Workbench
