#include "machineconfig/MachineConfigurationFile.h"

#include "machineconfig/ConfigurationReader.h"
#include "machineconfig/MachineConfiguration.h"

#include "client/interface/CommunicationException.h"

#include "tavam/Platform.h"
#include "tavsdk/Utf8.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QString>

#include <string>

namespace MachineService {

namespace {

/// Bytes that the document may take as a property: platform files write it as an attribute's value, where markup
/// becomes longer, and read no longer ones. The rest of the tag has room in what is left.
constexpr std::size_t LargestProperty = TavSDK::XmlBounds::Text - 4096;

QString ToQString(const std::filesystem::path& i_path)
{
    return QFile::decodeName(i_path.c_str());
}

[[noreturn]] void ThrowFileError(const QString& i_message)
{
    throw CommunicationException(ErrorCode::FileError, i_message.toUtf8().constData());
}

std::size_t CountAttributeBytes(const std::string& i_text)
{
    std::size_t count = 0;
    for (const char character : i_text) {
        switch (character) {
        case '<':
        case '>':
            count += 4;
            break;
        case '&':
        case '\n':
        case '\r':
        case '\t':
            count += 5;
            break;
        case '"':
            count += 6;
            break;
        case '\\':
            count += 2;
            break;
        default:
            ++count;
        }
    }
    return count;
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

void SetMachineConfiguration(TavAM::Platform& io_platform, const PlatformMachineConfiguration& i_configuration)
{
    const std::string text = WriteMachineConfiguration(i_configuration);
    if (CountAttributeBytes(text) > LargestProperty) {
        const QString message = QCoreApplication::translate(
            "MachineService", "The machine's configuration is too long for a platform file.");
        throw CommunicationException(ErrorCode::InternalError, message.toUtf8().constData());
    }
    io_platform.GetAMXProperties().SetText(MachineConfigurationProperty, TavSDK::FromUtf8(text).value());
}

std::optional<PlatformMachineConfiguration> GetMachineConfiguration(const TavAM::Platform& i_platform)
{
    const std::optional<std::wstring> text = i_platform.GetAMXProperties().GetText(MachineConfigurationProperty);
    if (!text)
        return std::nullopt;
    return ReadMachineConfiguration(TavSDK::ToUtf8(*text));
}

} // namespace MachineService
