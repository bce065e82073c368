#include "workbench/plate/PlateBed.h"

#include "catalog/PrinterAttachment.h"
#include "machinelayer/IMachineData.h"
#include "vexlorcore/DataSet.h"
#include "vexlorcore/SceneMachineData.h"

#include <exception>
#include <variant>

namespace Workbench {

namespace {

namespace Data = MachineLayer::Data;

void TakeShape(const Data::Machine& i_machine, PlateBed& io_bed)
{
    const Data::PlatformGeometry begin = i_machine.platformGeometry.value_or(Data::PlatformGeometry());
    const auto take = [&](double i_width, double i_depth, double i_height) {
        io_bed.minX = begin.minX;
        io_bed.minY = begin.minY;
        io_bed.maxX = begin.minX + i_width;
        io_bed.maxY = begin.minY + i_depth;
        io_bed.height = begin.minZ + i_height;
        io_bed.isKnown = true;
    };
    if (const auto* box = std::get_if<Data::BoxShape>(&*i_machine.platformShape)) {
        take(box->width, box->depth, box->height);
    } else if (const auto* cylinder = std::get_if<Data::CylinderShape>(&*i_machine.platformShape)) {
        take(cylinder->diameter, cylinder->diameter, cylinder->height);
        io_bed.isCircular = true;
    }
}

void TakeMachine(const Data::Machine& i_machine, PlateBed& io_bed)
{
    io_bed.machine = QString::fromStdWString(i_machine.properties.name);
    if (i_machine.platformShape)
        TakeShape(i_machine, io_bed);
    if (!i_machine.nesting)
        return;
    for (const Data::NoBuildZone& zone : i_machine.nesting->noBuildZones) {
        io_bed.zones.push_back({QString::fromStdWString(zone.name),
                                {{zone.minX, zone.minY, zone.minZ}, {zone.maxX, zone.maxY, zone.maxZ}}});
    }
}

} // namespace

PlateBed GetBed(VexlorCore::DataSet& io_scene)
{
    PlateBed bed;
    try {
        if (const auto* data = MachineLayer::Utilities::GetMachineDataMutable(&io_scene))
            TakeMachine(data->Get(), bed);
    } catch (const std::exception&) {
        // Whoever reads such a platform file says so; the plate shows what else is known.
        bed = {};
    }
    if (bed.isKnown)
        return bed;
    const auto printer = MachineService::Utilities::GetPrinter(&io_scene);
    if (!printer)
        return bed;
    const MachineService::MachineData& machine = printer->GetMachineData();
    bed.machine = QString::fromStdString(machine.name);
    if (const auto& volume = machine.buildVolume) {
        bed.minX = volume->minX;
        bed.minY = volume->minY;
        bed.maxX = volume->maxX;
        bed.maxY = volume->maxY;
        bed.height = volume->height;
        bed.isCircular = volume->isCircular;
        bed.isKnown = true;
    }
    return bed;
}

} // namespace Workbench
