#include "machineconfig/IConfigurationSection.h"

namespace MachineService::ConfigurationFormat {

const IConfigurationSection& PartExportSection();

namespace {

struct DescribePartExport
{
    template <class Fields, class PartExport>
    void operator()(Fields& io_fields, PartExport& io_export) const
    {
        io_fields.Names("Format", io_export.formats);
        io_fields.Choice("LengthUnit", io_export.unit);
        io_fields.Number("Tolerance", io_export.tolerance, Length);
        io_fields.Text("Naming", io_export.naming);
    }
};

} // namespace

const IConfigurationSection& PartExportSection()
{
    static constexpr MachineRecordSection<DescribePartExport, &PlatformMachineConfiguration::partExport,
                                          &MachineLayer::Data::Machine::partExport>
        section("/AM/MachineData/ParametersExportPart/2023/03");
    return section;
}

} // namespace MachineService::ConfigurationFormat
