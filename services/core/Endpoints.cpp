#include "core/Endpoints.h"

#include "buildprocessor/base/JsonFields.h"
#include "contract/Failure.h"
#include "core/RemoteModule.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"

#include <QByteArray>
#include <QJsonDocument>

#include <optional>

namespace MachineService {

namespace {

using BuildProcessor::JsonFields;

constexpr std::uint64_t MaxListBytes = 1'000'000;
constexpr double MaxServices = 100;
constexpr std::size_t MaxAddress = 400;
constexpr std::size_t MaxPath = 4000;
constexpr std::size_t MaxPin = 200;

ServiceEndpoint ReadEndpoint(JsonFields i_fields, const std::filesystem::path& i_folder)
{
    ServiceEndpoint endpoint;
    endpoint.address = i_fields.Text("address", MaxAddress);
    // Beside the list, unless it says where.
    if (i_fields.Has("authorityFile"))
        endpoint.authorityFile = i_folder / TavSDK::PathFromUtf8(i_fields.Text("authorityFile", MaxPath));
    if (i_fields.Has("pin"))
        endpoint.pin = i_fields.Text("pin", MaxPin);
    i_fields.Finish();
    return endpoint;
}

} // namespace

std::vector<ServiceEndpoint> ReadServiceList(const std::filesystem::path& i_file)
{
    const std::string name = TavSDK::ShowPath(i_file);
    try {
        auto file = TavSDK::InputFile::OpenIfThere(i_file);
        if (!file)
            return {};
        QJsonParseError error;
        const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(file->ReadAll(MaxListBytes)), &error);
        if (error.error != QJsonParseError::NoError)
            throw BuildProcessor::ProfileError(name + ": not JSON at byte " + std::to_string(error.offset) + ": " +
                                               error.errorString().toStdString());
        if (!document.isObject())
            throw BuildProcessor::ProfileError(name + ": the file must hold one JSON object");
        JsonFields fields(document.object(), name);
        std::vector<ServiceEndpoint> endpoints;
        fields.Array("services", {0, MaxServices}, [&](const QJsonValue& i_value, const std::string& i_path) {
            endpoints.push_back(ReadEndpoint(fields.ItemObject(i_value, i_path), i_file.parent_path()));
        });
        fields.Finish();
        return endpoints;
    } catch (const BuildProcessor::ProfileError& failure) {
        Fail(ErrorCode::FileError,
             std::string("The list of machine services cannot be read, correct it: ") + failure.what() + '.');
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::FileError,
             "The list of machine services '" + name + "' cannot be read: " + failure.what() + '.');
    }
}

void AddEndpoints(ServicesCatalog& io_catalog,
                  const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory)
{
    const auto general = i_plugin_utility_factory ? i_plugin_utility_factory(ServiceId::None) : nullptr;
    if (!general)
        return;
    auto endpoints = general->GetServiceEndpoints();
    std::optional<CommunicationException> fault;
    try {
        if (const auto list = general->GetServiceListFile(); !list.empty()) {
            const auto listed = ReadServiceList(list);
            endpoints.insert(endpoints.end(), listed.begin(), listed.end());
        }
    } catch (const CommunicationException& failure) {
        fault = failure;
    }
    auto number = FirstEndpointService;
    for (const auto& endpoint : endpoints) {
        const auto service = static_cast<ServiceId>(number++);
        auto utility = i_plugin_utility_factory(service);
        if (utility)
            utility->HandleEndpoint(endpoint);
        io_catalog.AddService(service, MakeRemoteCatalog(service, endpoint, std::move(utility)));
    }
    // In the place of those that the list would have named.
    if (fault)
        io_catalog.AddService(static_cast<ServiceId>(number),
                              MakeMissingCatalog(static_cast<ServiceId>(number), *fault));
}

} // namespace MachineService
