#include "hosting/MachineChoice.h"

#include "hosting/RowPlacement.h"

#include <QCoreApplication>

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>

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

bool IsManaged(const Machine& i_machine)
{
    return i_machine.GetMachineData().serviceId == MachineService::ServiceId::MachineManager;
}

/// \param i_begins the name may be followed by another in brackets, as a manager tells its machines apart.
bool IsCalled(const Machine& i_machine, const QString& i_wanted, bool i_begins)
{
    const auto data = i_machine.GetMachineData();
    const QString name = QString::fromStdString(data.name);
    const QString id = QString::fromStdString(boost::uuids::to_string(data.id));
    return name.compare(i_wanted, Qt::CaseInsensitive) == 0 || id.compare(i_wanted, Qt::CaseInsensitive) == 0 ||
           (i_begins && name.startsWith(QString(i_wanted + QStringLiteral(" (")), Qt::CaseInsensitive));
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
                                     const std::vector<TavAM::Part>& i_parts, bool i_posts_job)
{
    std::vector<Machine> ofKind;
    std::copy_if(i_machines.begin(), i_machines.end(), std::back_inserter(ofKind),
                 [&](const Machine& i_machine) { return IsManaged(i_machine) == i_posts_job; });
    if (i_wanted.isEmpty()) {
        const auto fitting = std::find_if(ofKind.begin(), ofKind.end(), [&](const Machine& i_machine) {
            const auto volume = i_machine.GetMachineData().buildVolume;
            return volume && Fits(i_parts, *volume);
        });
        if (fitting != ofKind.end())
            return *fitting;
        return ofKind.empty() ? std::nullopt : std::optional(ofKind.front());
    }
    const auto find = [&](const std::vector<Machine>& i_among, bool i_begins) -> std::optional<Machine> {
        const auto found = std::find_if(i_among.begin(), i_among.end(), [&](const Machine& i_machine) {
            return IsCalled(i_machine, i_wanted, i_begins);
        });
        return found == i_among.end() ? std::nullopt : std::optional(*found);
    };
    if (const auto machine = find(ofKind, false))
        return machine;
    return i_posts_job ? find(ofKind, true) : find(i_machines, false);
}

} // namespace Hosting
