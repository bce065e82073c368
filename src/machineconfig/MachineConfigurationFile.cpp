#include "machineconfig/MachineConfigurationFile.h"

#include "machineconfig/ConfigurationReader.h"
#include "machineconfig/MachineConfiguration.h"

#include "client/interface/CommunicationException.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QString>

#include <string>

namespace MachineService {

namespace {

QString ToQString(const std::filesystem::path& i_path)
{
    return QFile::decodeName(i_path.c_str());
}

[[noreturn]] void ThrowFileError(const QString& i_message)
{
    throw CommunicationException(ErrorCode::FileError, i_message.toUtf8().constData());
}

} // namespace

void SaveMachineConfiguration(const std::filesystem::path& i_path, const PlatformMachineConfiguration& i_configuration)
{
    const std::string text = WriteMachineConfiguration(i_configuration);
    QSaveFile file(ToQString(i_path));
    const auto size = static_cast<qint64>(text.size());
    if (file.open(QIODevice::WriteOnly) && file.write(text.data(), size) == size && file.commit())
        return;
    ThrowFileError(QCoreApplication::translate("MachineService", "Failed to create '%1': %2")
                       .arg(ToQString(i_path), file.errorString()));
}

PlatformMachineConfiguration LoadMachineConfiguration(const std::filesystem::path& i_path)
{
    const auto fail = [&i_path](const QString& i_reason) {
        ThrowFileError(
            QCoreApplication::translate("MachineService", "Failed to read '%1': %2").arg(ToQString(i_path), i_reason));
    };
    PlatformMachineConfiguration configuration;
    ConfigurationFormat::ConfigurationReader reader(configuration);
    if (!reader.Parse(i_path.wstring()))
        fail(QString::fromStdString(reader.GetError()));
    if (!reader.HasSection())
        fail(QCoreApplication::translate("MachineService", "It has no section."));
    return configuration;
}

} // namespace MachineService
