#include "hosting/MachineChoice.h"

#include "hosting/RowPlacement.h"

#include <QCoreApplication>

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <cmath>

namespace Hosting {

namespace {

using MachineService::Machine;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::MachineChoice)
};

/// Whether the box lies on the bed; of a round one, within its circle.
bool LiesOn(const TavAM::BoundingBox& i_box, const MachineService::BuildVolume& i_volume)
{
    if (!i_volume.isCircular)
        return i_box.min.x >= i_volume.minX && i_box.max.x <= i_volume.maxX && i_box.min.y >= i_volume.minY &&
               i_box.max.y <= i_volume.maxY;
    const double x = (i_volume.minX + i_volume.maxX) / 2;
    const double y = (i_volume.minY + i_volume.maxY) / 2;
    return std::hypot(std::max(x - i_box.min.x, i_box.max.x - x), std::max(y - i_box.min.y, i_box.max.y - y)) <=
           (i_volume.maxX - i_volume.minX) / 2;
}

bool Fits(std::vector<TavAM::Part> i_parts, const MachineService::BuildVolume& i_volume)
{
    PlaceInRows(i_parts, i_volume);
    return std::all_of(i_parts.begin(), i_parts.end(), [&](const TavAM::Part& i_part) {
        const auto box = i_part.GetBoundingBox();
        return box.IsEmpty() || (LiesOn(box, i_volume) && box.max.z <= i_volume.height);
    });
}

} // namespace

QString DescribeVolume(const MachineService::MachineData& i_data)
{
    if (!i_data.buildVolume)
        return Texts::tr("size unknown");
    const auto& volume = *i_data.buildVolume;
    if (volume.isCircular)
        return Texts::tr("⌀ %1 × %2 mm").arg(volume.maxX - volume.minX).arg(volume.height);
    return Texts::tr("%1 × %2 × %3 mm")
        .arg(volume.maxX - volume.minX)
        .arg(volume.maxY - volume.minY)
        .arg(volume.height);
}

std::optional<Machine> ChooseMachine(const std::vector<Machine>& i_machines, const QString& i_wanted,
                                     const std::vector<TavAM::Part>& i_parts)
{
    for (const auto& machine : i_machines) {
        const auto data = machine.GetMachineData();
        const QString id = QString::fromStdString(boost::uuids::to_string(data.id));
        const bool isWanted = i_wanted.isEmpty()
                                  ? data.buildVolume && Fits(i_parts, *data.buildVolume)
                                  : QString::fromStdString(data.name).compare(i_wanted, Qt::CaseInsensitive) == 0 ||
                                        id.compare(i_wanted, Qt::CaseInsensitive) == 0;
        if (isWanted)
            return machine;
    }
    if (i_wanted.isEmpty() && !i_machines.empty())
        return i_machines.front();
    return std::nullopt;
}

} // namespace Hosting
