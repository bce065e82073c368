#include "machineconfig/IConfigurationSection.h"

namespace MachineService::ConfigurationFormat {

const IConfigurationSection& SupportProfilesSection();

namespace {

struct DescribeTeeth
{
    template <class Fields, class Teeth>
    void operator()(Fields& io_fields, Teeth& io_teeth) const
    {
        io_fields.Number("Height", io_teeth.height, Length);
        io_fields.Number("TopWidth", io_teeth.topWidth, Length);
        io_fields.Number("BaseWidth", io_teeth.baseWidth, Length);
        io_fields.Number("Spacing", io_teeth.spacing, Distance);
    }
};

struct DescribePerforation
{
    template <class Fields, class Perforation>
    void operator()(Fields& io_fields, Perforation& io_perforation) const
    {
        io_fields.Choice("Shape", io_perforation.shape);
        io_fields.Number("Width", io_perforation.width, Length);
        io_fields.Number("Height", io_perforation.height, Length);
        io_fields.Number("Beam", io_perforation.beam, Length);
    }
};

struct DescribeContact
{
    template <class Fields, class Contact>
    void operator()(Fields& io_fields, Contact& io_contact) const
    {
        io_fields.Number("Width", io_contact.width, Length);
        io_fields.Number("Penetration", io_contact.penetration, Distance);
        io_fields.Number("Gap", io_contact.gap, Distance);
    }
};

struct DescribeProfile
{
    template <class Fields, class Name, class Profile>
    void operator()(Fields& io_fields, Name& io_surface_type, Profile& io_profile) const
    {
        io_fields.Name("SurfaceType", io_surface_type);
        io_fields.Choice("SupportType", io_profile.type);
        io_fields.Number("Spacing", io_profile.spacing, Length);
        io_fields.Number("CriticalAngle", io_profile.criticalAngle, Angle);
        io_fields.Child("Teeth", io_profile.teeth, DescribeTeeth());
        io_fields.Child("Perforation", io_profile.perforation, DescribePerforation());
        io_fields.Child("Contact", io_profile.contact, DescribeContact());
    }
};

struct DescribeProfileSet
{
    template <class Fields, class ProfileSet>
    void operator()(Fields& io_fields, ProfileSet& io_set) const
    {
        io_fields.Text("Name", io_set.name);
        io_fields.Children("Use", io_set.profiles, [](auto& io_use_fields, auto& io_type, auto& io_profile) {
            io_use_fields.Choice("SupportType", io_type);
            io_use_fields.Name("Profile", io_profile);
        });
    }
};

struct DescribeSupportProfiles
{
    template <class Fields, class SupportProfiles>
    void operator()(Fields& io_fields, SupportProfiles& io_profiles) const
    {
        io_fields.Children("SupportProfile", io_profiles.surfaceTypes, DescribeProfile());
        io_fields.Child("ProfilesInUse", io_profiles.inUse, DescribeProfileSet());
    }
};

class Section final : public RecordSection<DescribeSupportProfiles, &PlatformMachineConfiguration::supportProfiles>
{
public:
    using RecordSection::RecordSection;

    void Take(const MachineLayer::Data::Machine& i_machine, PlatformMachineConfiguration& io_configuration) const final
    {
        io_configuration.supportProfiles.reset();
        if (!i_machine.surfaceTypeProfiles.empty() || i_machine.supportProfileSet)
            io_configuration.supportProfiles = {i_machine.surfaceTypeProfiles, i_machine.supportProfileSet};
    }
};

} // namespace

const IConfigurationSection& SupportProfilesSection()
{
    static constexpr Section section("/AM/MachineData/SupportProfiles/2022/09");
    return section;
}

} // namespace MachineService::ConfigurationFormat
