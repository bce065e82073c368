#include "machinemanager/printers/IPrinterLink.h"

#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/printers/FolderLink.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <boost/uuid/uuid_io.hpp>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

namespace MachineService::MachineManager {

namespace {

[[noreturn]] void Refuse(const std::string& i_reason)
{
    throw ManagerError(ManagerError::Kind::BadInput, "The description of the printer cannot be used: " + i_reason);
}

std::unique_ptr<IPrinterLink> MakeFolderLink(const QJsonObject& i_object)
{
    for (const QString& name : i_object.keys()) {
        if (name != QLatin1String("kind") && name != QLatin1String("path") && name != QLatin1String("confirmedAfter"))
            Refuse("the field " + TavSDK::Quote(name.toStdString()) +
                   " is unknown; there are 'kind', 'path' and 'confirmedAfter'.");
    }
    const auto path = TavSDK::PathFromUtf8(i_object[QLatin1String("path")].toString().toStdString());
    if (!path.is_absolute())
        Refuse("'path' is the absolute name of a folder.");
    std::error_code failure;
    if (!std::filesystem::is_directory(path, failure))
        Refuse("there is no folder " + TavSDK::Quote(TavSDK::ShowPath(path)) + "; make it first.");
    constexpr double usual = 30;
    constexpr double longest = 7 * 24 * 3600;
    const double after = i_object[QLatin1String("confirmedAfter")].toDouble(usual);
    if (after < 1 || after > longest)
        Refuse("'confirmedAfter' is a number of seconds from 1 to 604800.");
    return std::make_unique<FolderLink>(path, std::chrono::seconds(static_cast<std::int64_t>(after)));
}

} // namespace

std::string PrintOrder::GetKey() const
{
    return boost::uuids::to_string(job) + '-' + std::to_string(copy);
}

std::unique_ptr<IPrinterLink> MakePrinterLink(const std::string& i_json)
{
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(i_json));
    if (!document.isObject())
        Refuse("it is not one JSON object.");
    const auto object = document.object();
    const auto kind = object[QLatin1String("kind")].toString();
    if (kind == QLatin1String("folder"))
        return MakeFolderLink(object);
    Refuse("'kind' is 'folder'.");
}

} // namespace MachineService::MachineManager
