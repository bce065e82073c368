#include "machineconfig/IConfigurationSection.h"

namespace MachineService::ConfigurationFormat {

const IConfigurationSection& ZBraceSection();

namespace {

struct DescribeZBrace
{
    template <class Fields, class ZBrace>
    void operator()(Fields& io_fields, ZBrace& io_brace) const
    {
        io_fields.Number("BeamWidth", io_brace.beamWidth, Length);
        io_fields.Number("BeamThickness", io_brace.beamThickness, Length);
        io_fields.Number("Angle", io_brace.angle, Angle);
        io_fields.Number("Spacing", io_brace.spacing, Length);
    }
};

} // namespace

const IConfigurationSection& ZBraceSection()
{
    static constexpr MachineRecordSection<DescribeZBrace, &PlatformMachineConfiguration::zBrace,
                                          &MachineLayer::Data::Machine::zBrace>
        section("/AM/MachineData/ZBrace/2023/03");
    return section;
}

} // namespace MachineService::ConfigurationFormat
