#include "machineconfig/MachineConfiguration.h"

#include "machineconfig/ConfigurationReader.h"
#include "machineconfig/ConfigurationSections.h"

#include "client/interface/CommunicationException.h"

#include "machinelayer/IMachineData.h"
#include "tavsdk/XmlWriter.h"

#include <QCoreApplication>
#include <QString>

#include <algorithm>

namespace MachineService {

using namespace ConfigurationFormat;

namespace {

[[noreturn]] void ThrowInvalid(const std::string& i_reason)
{
    const QString message =
        QCoreApplication::translate("MachineService", "The machine's configuration is not valid: %1.")
            .arg(QString::fromStdString(i_reason));
    throw CommunicationException(ErrorCode::InternalError, message.toUtf8().constData());
}

/// \param op_xml null only checks whether the configuration can be written.
void Write(const PlatformMachineConfiguration& i_configuration, TavSDK::XmlWriter* op_xml)
{
    if (!HasSection(i_configuration))
        ThrowInvalid("it has no section");
    FieldWriter fields(op_xml);
    try {
        fields.Element(ConfigurationTag, 0, MakeNamespace(ConfigurationPath), [&] {
            fields.Element(MachineTag, 0, {}, [&] { DescribeMachine(fields, i_configuration); });
            for (const IConfigurationSection* section : ConfigurationSections()) {
                if (!section->Has(i_configuration))
                    continue;
                fields.Element(GetTag(section->GetPath()), 0, MakeNamespace(section->GetPath()),
                               [&] { section->Write(i_configuration, fields); });
            }
        });
    } catch (const FieldError& error) {
        ThrowInvalid(fields.GetPlace() + " " + error.what());
    }
}

ConfigurationSchema MakeSchema(std::string_view i_path)
{
    ConfigurationSchema schema = {std::string(GetTag(i_path)), MakeNamespace(i_path), {}};
    schema.fileName.append(schema.element).append("-").append(GetVersion(i_path)).append(".xsd");
    std::replace(schema.fileName.begin(), schema.fileName.end(), '/', '-');
    return schema;
}

} // namespace

PlatformMachineConfiguration MachineConfigurationFromMachineData(const MachineLayer::IMachineData& i_machine_data)
{
    PlatformMachineConfiguration configuration = TakeConfiguration(i_machine_data.Get());
    Write(configuration, nullptr);
    return configuration;
}

std::string WriteMachineConfiguration(const PlatformMachineConfiguration& i_configuration)
{
    TavSDK::XmlWriter xml;
    xml.OpenText();
    Write(i_configuration, &xml);
    xml.Close();
    return xml.TakeText();
}

PlatformMachineConfiguration ReadMachineConfiguration(std::string_view i_document)
{
    PlatformMachineConfiguration configuration;
    ConfigurationReader reader(configuration);
    std::string error;
    if (!reader.ParseText(i_document))
        error = reader.GetError();
    else if (!reader.HasSection())
        error = "It has no section.";
    if (error.empty())
        return configuration;
    const QString message =
        QCoreApplication::translate("MachineService", "The machine configuration cannot be read: %1")
            .arg(QString::fromStdString(error));
    throw CommunicationException(ErrorCode::FileError, message.toUtf8().constData());
}

std::vector<ConfigurationSchema> GetConfigurationSchemas(const PlatformMachineConfiguration& i_configuration)
{
    std::vector<ConfigurationSchema> schemas = {MakeSchema(ConfigurationPath)};
    for (const IConfigurationSection* section : ConfigurationSections()) {
        if (section->Has(i_configuration))
            schemas.push_back(MakeSchema(section->GetPath()));
    }
    return schemas;
}

} // namespace MachineService
