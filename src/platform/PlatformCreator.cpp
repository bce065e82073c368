#include "platform/PlatformCreator.h"

#include "catalog/PldfTimestamps.h"
#include "catalog/PrinterAttachment.h"
#include "client/interface/CommunicationException.h"
#include "platform/ErrorMessages.h"
#include "platform/FailureText.h"
#include "platform/MachineAnswer.h"
#include "platform/PlatformData.h"

#include "tavam/AMXFileReader.h"
#include "tavam/Platform.h"
#include "tavsdk/Utf8.h"
#include "vexlorcore/DataSet.h"
#include "vexlorcore/HeldScene.h"
#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorcore/SceneMachineData.h"
#include "vexlorcore/ScopedTemporaryFile.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QString>

#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

namespace MachineService {

namespace {

Q_LOGGING_CATEGORY(CreatorLog, "machineservice.platform.creator")

PlatformInfo AwaitInformation(ProgressWatcherFuture<PlatformInfo>& io_future,
                              const VexlorCore::ApiProviderGetter& i_api_provider)
{
    return AwaitAnswer(io_future, i_api_provider,
                       QCoreApplication::translate("MachineService", "Get Platform Information"));
}

/// Machine data that the host cannot understand or keep, in the user's sentence.
template <class Function>
void TranslateMachineDataErrors(const Function& i_function)
{
    try {
        i_function();
    } catch (const CommunicationException&) {
        throw;
    } catch (const std::exception& error) {
        qCWarning(CreatorLog, "The machine data of a platform: %s", error.what());
        throw CommunicationException(
            ErrorCode::FileError,
            Translated(QT_TRANSLATE_NOOP("MachineService", "An error occurred while loading the machine.")).c_str());
    }
}

} // namespace

PlatformCreator::PlatformCreator(const Machine& i_machine, const VexlorPlatformInformation& i_information,
                                 bool i_has_parameters, bool i_can_create, VexlorCore::ApiProviderGetter i_api_provider)
    : _machine(i_machine)
    , _information(i_information)
    , _hasParameters(i_has_parameters)
    , _canCreate(i_can_create)
    , _apiProvider(std::move(i_api_provider))
{}

void PlatformCreator::RefreshPlatformInformation()
{
    PlatformInfo info;
    try {
        ProgressWatcherFuture<PlatformInfo> future = _machine.GetPlatformInformation();
        info = AwaitInformation(future, _apiProvider);
    } catch (const std::exception&) {
        // A machine that does not answer has nothing to offer.
        info = PlatformInfo();
    }
    SetPlatformInformation(info);
}

void PlatformCreator::SetPlatformInformation(const PlatformInfo& i_platform_info)
{
    VexlorPlatformInformation information;
    MachineLayer::IMachineData& data = *information.machineData;
    const std::vector<Platform>& items = i_platform_info.items;
    if (const Platform* item = FindItem(items, PlatformDataKind::Platform)) {
        ReadPlatformInformation(information, i_platform_info, *item);
    } else if (UpdateMachineData(data, items) || UpdatePlatformGeometry(data, items) || TakeMachineData(data, items)) {
        information.PopulatePropertiesUsingMachineInformation();
    }
    _information = information;
}

void PlatformCreator::SetParameterValue(const std::wstring& i_id, const std::wstring& i_value)
{
    if (_hasParameters)
        _values.insert_or_assign(i_id, i_value);
}

bool PlatformCreator::CreatePlatform(VexlorCore::DataSet* ip_data_set, bool i_keep_parts) const
{
    if (!_canCreate)
        return false;
    if (ip_data_set == nullptr)
        throw std::runtime_error("data set is nullptr");
    try {
        return _AskAndLoad(*ip_data_set, i_keep_parts);
    } catch (const CommunicationException& error) {
        switch (error.code()) {
        case ErrorCode::QueuePaused:
        case ErrorCode::QueueError:
        case ErrorCode::QueueOffline:
            return false;
        default:
            throw CommunicationException(error.code(), GetExceptionErrorMessage(error).c_str());
        }
    }
}

bool PlatformCreator::_AskAndLoad(VexlorCore::DataSet& io_data_set, bool i_keep_parts) const
{
    const std::string parameters = _hasParameters ? _WriteParameters(io_data_set) : std::string();
    // While the progress display is up the user may close the scene.
    const VexlorCore::HeldScene scene(io_data_set);
    std::future<std::pair<CommandResult, Platform>> future = _machine.GetEmptyPlatform(parameters);
    const auto [result, item] =
        AwaitAnswer(future, _apiProvider, QCoreApplication::translate("MachineService", "Get Empty Platform"));
    // Given up without a code, but with words and without a platform, is given up as well.
    const bool hasWordsOnly = !result.message.empty() && item.kind == PlatformDataKind::None;
    if (!result.completed && (result.status != static_cast<std::int32_t>(ErrorCode::None) || hasWordsOnly))
        throw CommunicationException(static_cast<ErrorCode>(result.status), result.message.c_str());
    if (result.completed && result.dataFormat == DataFormat::None)
        return false;
    if (item.kind == PlatformDataKind::Platform)
        _LoadPlatform(scene.Get(), result, item, i_keep_parts);
    _UpdateMachineData(scene.Get(), item);
    return true;
}

std::string PlatformCreator::_WriteParameters(VexlorCore::DataSet& io_data_set) const
{
    const TavAM::PersistentProperties& properties = io_data_set.GetAMObject().GetAMXProperties(false);
    ParameterValues values;
    for (const auto& parameter : _information.parameters) {
        if (properties.Has(parameter->GetId()))
            values.insert_or_assign(parameter->GetId(),
                                    properties.GetText(parameter->GetId()).value_or(std::wstring()));
    }
    for (const auto& [id, value] : _values)
        values.insert_or_assign(id, value);

    const auto file = MakeTemporaryFile(L"PlatformParameters", L".xml");
    WritePlatformCreationParameters(file->c_str(), values);
    return ReadBytes(file->GetPath());
}

void PlatformCreator::_LoadPlatform(VexlorCore::DataSet& io_data_set, const CommandResult& i_result,
                                    const Platform& i_item, bool i_keep_parts) const
{
    const auto file = MakeTemporaryFile(L"Vexlor", L".TavAMX");
    if (!WriteBytes(file->GetPath(), i_item.data))
        ThrowUnreadable(file->GetPath());
    // Before the scene is touched: it has either its old platform or the whole new one.
    _CheckMachineData(file->GetPath());
    try {
        _apiProvider().LoadPlatformFile(
            &io_data_set, static_cast<std::int32_t>(i_result.dataFormat), {file->GetPath()},
            QCoreApplication::translate("MachineService", "Get Empty Platform"), _apiProvider,
            [machine = _machine](VexlorCore::DataSet* ip_data_set) {
                Utilities::UpdateMachineAMProperties(ip_data_set, machine);
            },
            [machine = _machine](std::shared_ptr<TavAM::Platform> ip_platform) {
                Utilities::SetPldfTimestampFromMachine(*ip_platform, machine);
            },
            true, i_keep_parts);
    } catch (const VexlorCore::JobCancelled&) {
        // The user knows one sentence for it, wherever the cancellation came.
        throw CommunicationException(ErrorCode::ProcessingAborted);
    }
}

void PlatformCreator::_CheckMachineData(const std::wstring& i_file) const
{
    TavAM::Database database;
    // What the file lacks otherwise is the host's to tell.
    if (!TavAM::AMXFileReader().ReadFile(ToPath(i_file), database) || database.GetNumPlatforms() != 1)
        return;
    TranslateMachineDataErrors([&] {
        if (const auto data = MachineLayer::Utilities::MakeMachineData(*database.GetPlatform(0))) {
            data->CopyFrom(*_information.machineData);
            MachineLayer::Utilities::CheckStorable(*data);
        }
    });
}

void PlatformCreator::_UpdateMachineData(VexlorCore::DataSet& io_data_set, const Platform& i_item) const
{
    TranslateMachineDataErrors([&] {
        MachineLayer::IMachineData* const data = MachineLayer::Utilities::GetMachineDataMutable(&io_data_set);
        if (data == nullptr)
            return;
        // On a copy first, for the same reason.
        const auto next = data->Clone();
        next->CopyFrom(*_information.machineData);
        UpdateMachineData(*next, {i_item});
        MachineLayer::Utilities::CheckStorable(*next);
        data->CopyFrom(*next);
        MachineLayer::Utilities::StoreMachineData(&io_data_set);
    });
}

std::unique_ptr<IPlatformCreator> TryCreatePlatformCreator(const Machine& i_machine,
                                                           ProgressWatcherFuture<PlatformInfo>& io_platform_information,
                                                           VexlorCore::ApiProviderGetter i_api_provider,
                                                           std::wstring& o_error_message)
{
    VexlorPlatformInformation information;
    PlatformInfo info;
    try {
        info = AwaitInformation(io_platform_information, i_api_provider);
    } catch (const CommunicationException& error) {
        o_error_message = TavSDK::ToWide(GetExceptionErrorMessage(error));
        return nullptr;
    } catch (const std::exception&) {
        o_error_message = DescribeCurrentException().toStdWString();
        return nullptr;
    }
    if (const std::string message = GetResultErrorMessage(info); !message.empty())
        o_error_message = TavSDK::ToWide(message);
    const Platform* const item = FindItem(info.items, PlatformDataKind::Platform);
    if (item == nullptr)
        return nullptr;
    try {
        const bool hasParameters = ReadPlatformInformation(information, info, *item);
        return std::make_unique<PlatformCreator>(i_machine, information, hasParameters, true,
                                                 std::move(i_api_provider));
    } catch (const CommunicationException& error) {
        o_error_message = TavSDK::ToWide(GetExceptionErrorMessage(error));
    } catch (const std::exception&) {
        o_error_message = DescribeCurrentException().toStdWString();
    }
    return nullptr;
}

} // namespace MachineService
