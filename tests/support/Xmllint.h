#pragma once

#include <QProcess>
#include <QStringList>

#include <string>

namespace TestSupport {

/// What xmllint says of documents of machine configurations; empty when all are valid.
inline std::string ValidateConfigurations(const QString& i_folder, const QStringList& i_files)
{
    QProcess xmllint;
    xmllint.setWorkingDirectory(i_folder);
    xmllint.setProcessChannelMode(QProcess::MergedChannels);
    xmllint.start(QStringLiteral("xmllint"),
                  QStringList({QStringLiteral("--noout"), QStringLiteral("--nonet"), QStringLiteral("--schema"),
                               QStringLiteral(MACHINESERVICE_SCHEMAS "/MachineConfiguration-2026-11.xsd")}) +
                      i_files);
    if (!xmllint.waitForFinished(60'000))
        return "xmllint did not run";
    return xmllint.exitCode() == 0 ? std::string() : xmllint.readAll().toStdString();
}

} // namespace TestSupport
