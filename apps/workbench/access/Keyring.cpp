#include "workbench/access/Keyring.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <qt5keychain/keychain.h>

#include <utility>

namespace Workbench {

namespace {

QString GetGroup()
{
    return QStringLiteral("machineservice");
}

QByteArray ToBytes(const MachineService::AuthenticationData& i_data)
{
    return QJsonDocument({{QStringLiteral("user"), QString::fromStdString(i_data.user)},
                          {QStringLiteral("secret"), QString::fromStdString(i_data.secret)}})
        .toJson(QJsonDocument::Compact);
}

std::optional<MachineService::AuthenticationData> FromBytes(const QByteArray& i_bytes)
{
    const QJsonObject fields = QJsonDocument::fromJson(i_bytes).object();
    const QString secret = fields.value(QStringLiteral("secret")).toString();
    if (secret.isEmpty())
        return std::nullopt;
    return MachineService::AuthenticationData{fields.value(QStringLiteral("user")).toString().toStdString(),
                                              secret.toStdString()};
}

QString Explain(QKeychain::Error i_error)
{
    switch (i_error) {
    case QKeychain::NoError:
        return {};
    case QKeychain::AccessDenied:
    case QKeychain::AccessDeniedByUser:
        return Keyring::tr("The keyring stayed locked, so the secret counts until the window is closed. Unlock the "
                           "keyring, then sign in again.");
    default:
        return Keyring::tr("There is no keyring here that could be used, so the secret counts until the window is "
                           "closed.");
    }
}

} // namespace

void Keyring::Read(const QString& i_address,
                   std::function<void(std::optional<MachineService::AuthenticationData>)> i_take)
{
    auto* const job = new QKeychain::ReadPasswordJob(GetGroup(), this);
    job->setKey(i_address);
    connect(job, &QKeychain::Job::finished, this, [take = std::move(i_take)](QKeychain::Job* ip_job) {
        const auto* const read = static_cast<QKeychain::ReadPasswordJob*>(ip_job);
        take(read->error() == QKeychain::NoError ? FromBytes(read->binaryData()) : std::nullopt);
    });
    job->start();
}

void Keyring::Write(const QString& i_address, const MachineService::AuthenticationData& i_data,
                    std::function<void(const QString&)> i_note)
{
    auto* const job = new QKeychain::WritePasswordJob(GetGroup(), this);
    job->setKey(i_address);
    job->setBinaryData(ToBytes(i_data));
    connect(job, &QKeychain::Job::finished, this,
            [note = std::move(i_note)](QKeychain::Job* ip_job) { note(Explain(ip_job->error())); });
    job->start();
}

void Keyring::Remove(const QString& i_address)
{
    auto* const job = new QKeychain::DeletePasswordJob(GetGroup(), this);
    job->setKey(i_address);
    job->start();
}

} // namespace Workbench
