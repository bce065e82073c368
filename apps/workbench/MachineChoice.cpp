#include "MachineChoice.h"

#include "RowPlacement.h"

#include <QCoreApplication>

#include <boost/uuid/uuid_io.hpp>

#include <stdexcept>

namespace Workbench {

namespace {

using MachineService::Machine;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::MachineChoice)
};

bool Fits(const std::vector<TavAM::Part>& i_parts, const MachineService::BuildVolume& i_volume)
{
    auto placed = i_parts;
    PlaceInRows(placed, i_volume);
    TavAM::BoundingBox all;
    for (const auto& part : placed)
        all.Add(part.GetBoundingBox());
    return all.IsEmpty() || (all.min.x >= i_volume.minX && all.max.x <= i_volume.maxX && all.min.y >= i_volume.minY &&
                             all.max.y <= i_volume.maxY && all.max.z <= i_volume.height);
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

Machine ChooseMachine(const std::vector<Machine>& i_machines, const QString& i_wanted,
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
    if (i_wanted.isEmpty())
        return i_machines.front();
    throw std::runtime_error(
        Texts::tr("No machine is called '%1'; --list shows the catalog.").arg(i_wanted).toStdString());
}

} // namespace Workbench
