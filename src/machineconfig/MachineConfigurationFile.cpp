#include "machineconfig/MachineConfigurationFile.h"

#include "machineconfig/ConfigurationErrors.h"
#include "machineconfig/MachineConfiguration.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"

#include <QCoreApplication>
#include <QString>

#include <stdexcept>
#include <utility>

namespace MachineService {

namespace {

QString ToQString(const std::filesystem::path& i_path)
{
    return QString::fromStdString(TavSDK::ShowPath(i_path));
}

} // namespace

void SaveMachineConfiguration(const std::filesystem::path& i_path, const PlatformMachineConfiguration& i_configuration)
{
    const std::string text = WriteMachineConfiguration(i_configuration);
    try {
        TavSDK::AtomicFile file(i_path);
        file.Write(text);
        file.TakeRightsOfTarget();
        file.Commit();
    } catch (const TavSDK::FileError& error) {
        ThrowFileError(QCoreApplication::translate("MachineService", "Failed to create '%1': %2.")
                           .arg(ToQString(i_path), QString::fromUtf8(error.what())));
    }
}

PlatformMachineConfiguration LoadMachineConfiguration(const std::filesystem::path& i_path,
                                                      std::vector<std::string>* op_remarks)
{
    try {
        std::vector<std::string> remarks;
        PlatformMachineConfiguration configuration = MachineLayer::LoadConfiguration(i_path, remarks);
        TellRemarks(std::move(remarks), op_remarks);
        return configuration;
    } catch (const std::invalid_argument& error) {
        ThrowFileError(QCoreApplication::translate("MachineService", "Failed to read '%1': %2")
                           .arg(ToQString(i_path), QString::fromUtf8(error.what())));
    }
}

} // namespace MachineService
