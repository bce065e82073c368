#include "machineconfig/MachineConfiguration.h"

#include "machineconfig/ConfigurationErrors.h"

#include "machinelayer/IMachineData.h"

#include <QCoreApplication>

#include <stdexcept>

namespace MachineService {

namespace {

/// Tells what is wrong with a configuration that no document can hold.
template <class Action>
auto Guarded(const Action& i_action)
{
    try {
        return i_action();
    } catch (const std::invalid_argument& error) {
        ThrowInternalError(
            QCoreApplication::translate("MachineService", "The machine's configuration is not valid: %1.")
                .arg(QString::fromUtf8(error.what())));
    }
}

} // namespace

PlatformMachineConfiguration MachineConfigurationFromMachineData(const MachineLayer::IMachineData& i_machine_data)
{
    return Guarded([&] {
        PlatformMachineConfiguration configuration = MachineLayer::TakeConfiguration(i_machine_data.Get());
        MachineLayer::CheckConfiguration(configuration);
        return configuration;
    });
}

std::string WriteMachineConfiguration(const PlatformMachineConfiguration& i_configuration)
{
    return Guarded([&] { return MachineLayer::WriteConfiguration(i_configuration); });
}

PlatformMachineConfiguration ReadMachineConfiguration(std::string_view i_document, std::vector<std::string>* op_remarks)
{
    try {
        std::vector<std::string> remarks;
        PlatformMachineConfiguration configuration = MachineLayer::ReadConfiguration(i_document, remarks);
        TellRemarks(std::move(remarks), op_remarks);
        return configuration;
    } catch (const std::invalid_argument& error) {
        ThrowFileError(QCoreApplication::translate("MachineService", "The machine configuration cannot be read: %1")
                           .arg(QString::fromUtf8(error.what())));
    }
}

std::vector<ConfigurationSchema> GetConfigurationSchemas(const PlatformMachineConfiguration& i_configuration)
{
    return Guarded([&] { return MachineLayer::GetConfigurationSchemas(i_configuration); });
}

} // namespace MachineService
