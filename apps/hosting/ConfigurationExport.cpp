#include "hosting/ConfigurationExport.h"

#include "hosting/HostingError.h"
#include "hosting/ResultFiles.h"

#include "machineconfig/MachineConfigurationFile.h"
#include "vexlorcore/DataSet.h"
#include "vexlorcore/SceneMachineData.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <chrono>

namespace Hosting {

namespace {

constexpr std::chrono::seconds CheckDeadline(30);

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::ConfigurationExport)
};

/// Where the schemas lie, seen from the program: as they are installed, or as they are built. Empty when there are
/// none.
QString FindSchema(const QString& i_file_name)
{
    const QDir program(QCoreApplication::applicationDirPath());
    for (const QString& folder : QStringLiteral(HOSTING_SCHEMA_DIRS).split(QLatin1Char(':'))) {
        const QFileInfo file(program.filePath(folder + QLatin1Char('/') + i_file_name));
        if (file.isFile())
            return file.canonicalFilePath();
    }
    return {};
}

/// Says in one sentence why the document was not checked; empty when it is valid.
/// \param i_file what it is meant for.
QString CheckWithXmllint(const std::string& i_document, const QString& i_file, const QString& i_schema_name)
{
    const QString schema = FindSchema(i_schema_name);
    if (schema.isEmpty())
        return Texts::tr("the schema %1 was not found").arg(i_schema_name);
    QProcess xmllint;
    xmllint.setProcessChannelMode(QProcess::MergedChannels);
    xmllint.start(QStringLiteral("xmllint"), {QStringLiteral("--noout"), QStringLiteral("--nonet"),
                                              QStringLiteral("--schema"), schema, QStringLiteral("-")});
    if (!xmllint.waitForStarted())
        return Texts::tr("xmllint was not found: install the package libxml2-utils");
    xmllint.write(QByteArray::fromStdString(i_document));
    xmllint.closeWriteChannel();
    const bool isFinished = xmllint.waitForFinished(static_cast<int>(std::chrono::milliseconds(CheckDeadline).count()));
    if (!isFinished || xmllint.exitStatus() != QProcess::NormalExit) {
        xmllint.kill();
        xmllint.waitForFinished();
        return Texts::tr("xmllint did not come to an end");
    }
    if (xmllint.exitCode() != 0) {
        const QString reason = QString::fromUtf8(xmllint.readAll()).section(QLatin1Char('\n'), 0, 0);
        throw HostingError(Texts::tr("'%1' does not keep to its schemas: %2").arg(i_file, reason));
    }
    return {};
}

} // namespace

ConfigurationExport ExportConfiguration(VexlorCore::DataSet& io_scene, const std::filesystem::path& i_path)
{
    const auto* data = MachineLayer::Utilities::GetMachineDataMutable(&io_scene);
    if (!data)
        throw HostingError(Texts::tr("The platform tells nothing about its machine."));
    const auto configuration = MachineService::MachineConfigurationFromMachineData(*data);
    // Checked before it takes the place of a good file.
    const std::string document = MachineService::WriteMachineConfiguration(configuration);
    if (MachineService::ReadMachineConfiguration(document) != configuration)
        throw HostingError(Texts::tr("'%1' would not hold what was to be written.").arg(FromPath(i_path)));
    ConfigurationExport result;
    result.schemas = MachineService::GetConfigurationSchemas(configuration);
    result.whyNotChecked =
        CheckWithXmllint(document, FromPath(i_path), QString::fromStdString(result.schemas.front().fileName));
    MachineService::SaveMachineConfiguration(i_path, configuration);
    return result;
}

} // namespace Hosting
