#include "machineconfig/IConfigurationSection.h"

namespace MachineService::ConfigurationFormat {

const IConfigurationSection& ZCompensationSection();

namespace {

using MachineLayer::Data::ZCompensationKey;

struct DescribeZCompensation
{
    template <class Fields, class ZCompensation>
    void operator()(Fields& io_fields, ZCompensation& io_compensation) const
    {
        io_fields.Children("DownFacing", io_compensation.downFacing, [](auto& io_offset_fields, auto& io_offset) {
            io_offset_fields.Number("LayerThickness", io_offset.layerThickness, Length);
            io_offset_fields.Number("Offset", io_offset.offset, Offset);
        });
        // The table's element says what its keys are, so that each key can have its unit.
        _DescribeTable(io_fields, io_compensation, ZCompensationKey::Angle, "AngleTable", "Angle", Angle);
        _DescribeTable(io_fields, io_compensation, ZCompensationKey::Depth, "DepthTable", "Depth", Distance);
    }

private:
    template <class Fields, class ZCompensation>
    static void _DescribeTable(Fields& io_fields, ZCompensation& io_compensation, ZCompensationKey i_key,
                               const char* ip_table_tag, const char* ip_key_tag, const Quantity& i_quantity)
    {
        const bool isPresent =
            io_compensation.tableKey == i_key && (!io_compensation.table.empty() || i_key != ZCompensationKey::Angle);
        io_fields.Group(ip_table_tag, isPresent, [=, &io_compensation, &i_quantity](auto& io_table) {
            if constexpr (Fields::IsReader) {
                if (!io_compensation.table.empty())
                    throw FieldError("is a second table");
                io_compensation.tableKey = i_key;
            }
            io_table.Children("Entry", io_compensation.table,
                              [ip_key_tag, &i_quantity](auto& io_entry_fields, auto& io_entry) {
                                  io_entry_fields.Number(ip_key_tag, io_entry.key, i_quantity);
                                  io_entry_fields.Number("Offset", io_entry.offset, Offset);
                              });
        });
    }
};

} // namespace

const IConfigurationSection& ZCompensationSection()
{
    static constexpr MachineRecordSection<DescribeZCompensation, &PlatformMachineConfiguration::zCompensation,
                                          &MachineLayer::Data::Machine::zCompensation>
        section("/AM/MachineData/ParametersZCompensation/2023/03");
    return section;
}

} // namespace MachineService::ConfigurationFormat
