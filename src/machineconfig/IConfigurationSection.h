#pragma once

#include "machineconfig/FieldReader.h"
#include "machineconfig/FieldWriter.h"
#include "machineconfig/PlatformMachineConfiguration.h"

#include <optional>
#include <string_view>

namespace MachineService::ConfigurationFormat {

/// One section of a machine's configuration: where it comes from, how it is written and read.
///
/// Sections hold no state; there is one object of each for the whole time, and any thread may use it.
class IConfigurationSection
{
public:
    /// Path of the section's namespace: "/AM/MachineData/", the name of its element, "/", year and month of its format.
    virtual std::string_view GetPath() const = 0;
    /// Takes over what the machine has of it, if anything.
    virtual void Take(const MachineLayer::Data::Machine& i_machine,
                      PlatformMachineConfiguration& io_configuration) const = 0;
    virtual bool Has(const PlatformMachineConfiguration& i_configuration) const = 0;
    /// The fields inside the section's element; the configuration must have the section.
    /// \throws FieldError for what cannot be written.
    virtual void Write(const PlatformMachineConfiguration& i_configuration, FieldWriter& io_fields) const = 0;
    /// Creates the section and makes the fields ready to be read into it.
    virtual void Read(PlatformMachineConfiguration& io_configuration, FieldReader& io_fields) const = 0;

protected:
    ~IConfigurationSection() = default;
};

/// A section that is one member of the configuration.
///
/// Describer names the fields, for writing and reading alike: describe(fields, record) calls the operations that
/// FieldWriter and FieldReader have in common, in the order of the schema.
template <class Describer, auto Member>
class RecordSection : public IConfigurationSection
{
public:
    explicit constexpr RecordSection(std::string_view i_path)
        : _path(i_path)
    {}

    std::string_view GetPath() const final { return _path; }
    bool Has(const PlatformMachineConfiguration& i_configuration) const final
    {
        return (i_configuration.*Member).has_value();
    }
    void Write(const PlatformMachineConfiguration& i_configuration, FieldWriter& io_fields) const final
    {
        Describer()(io_fields, (i_configuration.*Member).value());
    }
    void Read(PlatformMachineConfiguration& io_configuration, FieldReader& io_fields) const final
    {
        Describer()(io_fields, (io_configuration.*Member).emplace());
    }

protected:
    ~RecordSection() = default;

private:
    std::string_view _path;
};

/// A section that the machine's data have as the same record.
template <class Describer, auto Member, auto MachineMember>
class MachineRecordSection final : public RecordSection<Describer, Member>
{
public:
    using RecordSection<Describer, Member>::RecordSection;

    void Take(const MachineLayer::Data::Machine& i_machine, PlatformMachineConfiguration& io_configuration) const final
    {
        io_configuration.*Member = i_machine.*MachineMember;
    }
};

} // namespace MachineService::ConfigurationFormat
