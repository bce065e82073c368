#include "machineconfig/IConfigurationSection.h"

namespace MachineService::ConfigurationFormat {

const IConfigurationSection& NestingSection();

namespace {

struct DescribeNesting
{
    template <class Fields, class Nesting>
    void operator()(Fields& io_fields, Nesting& io_nesting) const
    {
        io_fields.Number("PartToPartClearance", io_nesting.partToPart, Distance);
        io_fields.Number("PartToWallClearance", io_nesting.partToWall, Distance);
        io_fields.Choice("RotationFreedom", io_nesting.rotation);
        io_fields.Number("RotationStep", io_nesting.rotationStep, Angle);
        io_fields.Children("NoBuildZone", io_nesting.noBuildZones, [](auto& io_zone_fields, auto& io_zone) {
            io_zone_fields.Text("Name", io_zone.name);
            io_zone_fields.Number("MinX", io_zone.minX, Coordinate);
            io_zone_fields.Number("MinY", io_zone.minY, Coordinate);
            io_zone_fields.Number("MinZ", io_zone.minZ, Coordinate);
            io_zone_fields.Number("MaxX", io_zone.maxX, Coordinate);
            io_zone_fields.Number("MaxY", io_zone.maxY, Coordinate);
            io_zone_fields.Number("MaxZ", io_zone.maxZ, Coordinate);
            io_zone_fields.Rule(
                [&io_zone] {
                    return io_zone.minX <= io_zone.maxX && io_zone.minY <= io_zone.maxY && io_zone.minZ <= io_zone.maxZ;
                },
                "ends before it begins");
        });
    }
};

} // namespace

const IConfigurationSection& NestingSection()
{
    static constexpr MachineRecordSection<DescribeNesting, &PlatformMachineConfiguration::nesting,
                                          &MachineLayer::Data::Machine::nesting>
        section("/AM/MachineData/Nesting/2023/03");
    return section;
}

} // namespace MachineService::ConfigurationFormat
