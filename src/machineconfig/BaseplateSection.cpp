#include "machineconfig/IConfigurationSection.h"

namespace MachineService::ConfigurationFormat {

const IConfigurationSection& BaseplateSection();

namespace {

struct DescribeBaseplate
{
    template <class Fields, class Baseplate>
    void operator()(Fields& io_fields, Baseplate& io_baseplate) const
    {
        io_fields.Choice("Shape", io_baseplate.shape);
        io_fields.Number("Width", io_baseplate.width, Length);
        io_fields.Number("Depth", io_baseplate.depth, Length);
        io_fields.Number("Thickness", io_baseplate.thickness, Length);
        io_fields.Number("MarginLeft", io_baseplate.marginLeft, Distance);
        io_fields.Number("MarginRight", io_baseplate.marginRight, Distance);
        io_fields.Number("MarginFront", io_baseplate.marginFront, Distance);
        io_fields.Number("MarginBack", io_baseplate.marginBack, Distance);
        io_fields.Text("Material", io_baseplate.material);
    }
};

} // namespace

const IConfigurationSection& BaseplateSection()
{
    static constexpr MachineRecordSection<DescribeBaseplate, &PlatformMachineConfiguration::baseplate,
                                          &MachineLayer::Data::Machine::baseplate>
        section("/AM/MachineData/ParametersBaseplate/2023/03");
    return section;
}

} // namespace MachineService::ConfigurationFormat
