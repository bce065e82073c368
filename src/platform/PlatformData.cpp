#include "platform/PlatformData.h"

#include "client/interface/CommunicationException.h"
#include "platform/PlatformInformationReader.h"

#include "machinelayer/Pldf.h"
#include "machinelayer/PldfFile.h"
#include "tavam/AMXFileReader.h"
#include "tavam/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/ZipBounds.h"
#include "vexlorcore/Base64.h"
#include "vexlorcore/ScopedTemporaryFile.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QString>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

Q_LOGGING_CATEGORY(platformLog, "machineservice.platform")

namespace MachineService {

namespace {

using VexlorCore::ScopedTemporaryFile;

[[noreturn]] void Throw(ErrorCode i_code, const char* ip_text)
{
    throw CommunicationException(i_code, Translated(ip_text).c_str());
}

/// The user's sentence does not say what is wrong with a machine's data; whoever maintains the machine needs to know.
void LogReason(const char* ip_what, const std::string& i_reason)
{
    qCWarning(platformLog, "%s: %s", ip_what, i_reason.c_str());
}

/// What a document of a machine has and nobody here knows.
void LogRemarks(const char* ip_what, const std::vector<std::string>& i_remarks)
{
    for (const std::string& remark : i_remarks)
        LogReason(ip_what, remark);
}

void ReadInformationFile(const std::string& i_xml, VexlorPlatformInformation& io_information)
{
    const auto file = MakeTemporaryFile(L"PlatformParameters", L".xml");
    PlatformInformationReader reader(io_information);
    if (!WriteBytes(file->GetPath(), i_xml))
        ThrowUnreadable(file->GetPath());
    if (!reader.Parse(file->GetPath())) {
        LogReason("Platform information", reader.GetError());
        ThrowUnreadable(file->GetPath());
    }
}

void LoadMachineParametersFromAmx(TavAM::MachineParameters& o_parameters, const std::string& i_bytes)
{
    const auto file = MakeTemporaryFile(L"VexlorGetPlatformInformation", L".TavAMX");
    TavAM::Database database;
    if (!WriteBytes(file->GetPath(), i_bytes))
        ThrowUnreadable(file->GetPath());
    try {
        TavAM::AMXFileReader::Read(TavSDK::PathFromWide(file->GetPath()), database);
    } catch (const TavAM::FileError& failure) {
        LogReason("Platform of a machine", failure.what());
        ThrowUnreadable(file->GetPath());
    }
    if (database.GetNumPlatforms() != 1)
        Throw(ErrorCode::FileError, QT_TRANSLATE_NOOP("MachineService", "Unexpected input file."));
    const TavAM::MachineParameters* const machine = database.GetPlatform(0)->GetMachine();
    if (machine == nullptr)
        Throw(ErrorCode::FileError,
              QT_TRANSLATE_NOOP("MachineService", "An error occurred while loading the machine."));
    o_parameters = *machine;
}

/// The item's data read by a function of the machine layer; false when there are none or they cannot be read.
template <class Reader>
bool ReadItem(const std::vector<Platform>& i_items, PlatformDataKind i_kind, const char* ip_what,
              const Reader& i_reader)
{
    const Platform* const item = FindItem(i_items, i_kind);
    if (item == nullptr || item->data.empty())
        return false;
    try {
        i_reader(item->data);
    } catch (const std::invalid_argument& error) {
        LogReason(ip_what, error.what());
        return false;
    }
    return true;
}

} // namespace

void ThrowUnreadable(const std::wstring& i_path)
{
    const QString text = QCoreApplication::translate("MachineService", "An error occurred while reading file %1")
                             .arg(QString::fromStdWString(i_path));
    throw CommunicationException(ErrorCode::FileError, text.toUtf8().constData());
}

std::unique_ptr<ScopedTemporaryFile> MakeTemporaryFile(const std::wstring& i_stem, const std::wstring& i_extension)
try {
    return std::make_unique<ScopedTemporaryFile>(i_stem, i_extension);
} catch (const TavAM::FileError& error) {
    LogReason("Temporary file", error.what());
    ThrowUnreadable(i_stem + i_extension);
}

std::string Translated(const char* ip_text)
{
    return QCoreApplication::translate("MachineService", ip_text).toStdString();
}

std::filesystem::path ToPath(const std::wstring& i_path)
{
    return TavSDK::PathFromWide(i_path);
}

bool WriteBytes(const std::wstring& i_path, const std::string& i_bytes)
{
    std::ofstream file(TavSDK::PathFromWide(i_path), std::ios::binary | std::ios::trunc);
    file.write(i_bytes.data(), static_cast<std::streamsize>(i_bytes.size()));
    // A full disk may show only here.
    file.close();
    return !file.fail();
}

std::string ReadBytes(const std::wstring& i_path)
{
    // As much as a platform file may unpack to.
    constexpr std::uint64_t longest = TavSDK::ZipBounds().unpackedSize;
    try {
        return TavSDK::ReadFile(TavSDK::PathFromWide(i_path), longest);
    } catch (const TavSDK::FileError& error) {
        LogReason("Platform file", error.what());
        ThrowUnreadable(i_path);
    }
}

const Platform* FindItem(const std::vector<Platform>& i_items, PlatformDataKind i_kind)
{
    const auto found = std::find_if(i_items.begin(), i_items.end(),
                                    [i_kind](const Platform& i_item) { return i_item.kind == i_kind; });
    return found != i_items.end() ? &*found : nullptr;
}

bool ReadPlatformInformation(VexlorPlatformInformation& io_information, const PlatformInfo& i_platform_info,
                             const Platform& i_platform_item)
{
    if (i_platform_info.xml.empty())
        io_information.parameters.clear();
    else
        ReadInformationFile(i_platform_info.xml, io_information);

    TavAM::MachineParameters parameters;
    if (!i_platform_item.data.empty())
        LoadMachineParametersFromAmx(parameters, i_platform_item.data);
    try {
        MachineLayer::PLDF::ConvertFromPLDF(*io_information.machineData, parameters,
                                            {.properties = true, .platform = true, .profiles = true});
    } catch (const std::invalid_argument& error) {
        LogReason("Machine parameters", error.what());
        Throw(ErrorCode::FileError,
              QT_TRANSLATE_NOOP("MachineService", "An error occurred while loading the machine."));
    }
    UpdateMachineData(*io_information.machineData, i_platform_info.items);
    return !io_information.parameters.empty();
}

bool UpdateMachineData(MachineLayer::IMachineData& io_data, const std::vector<Platform>& i_items)
{
    const Platform* const item = FindItem(i_items, PlatformDataKind::MachineConfiguration);
    if (item == nullptr || item->data.empty())
        return false;
    const auto bytes = VexlorCore::DecodeBase64(item->data);
    if (!bytes)
        Throw(ErrorCode::PldfError, QT_TRANSLATE_NOOP("MachineService", "PLDF decoding failed."));

    const auto loaded = MachineLayer::CreateMachineData();
    const auto file = [] {
        try {
            return MakeTemporaryFile(L"Machine", L".pldf");
        } catch (const CommunicationException& error) {
            LogReason("Machine configuration", error.what());
            Throw(ErrorCode::PldfError, QT_TRANSLATE_NOOP("MachineService", "Error writing PLDF file."));
        }
    }();
    if (!WriteBytes(file->GetPath(), *bytes))
        Throw(ErrorCode::PldfError, QT_TRANSLATE_NOOP("MachineService", "Error writing PLDF file."));
    try {
        std::vector<std::string> remarks;
        MachineLayer::Utilities::LoadMachineDataPLDF(TavSDK::PathFromWide(file->GetPath()), *loaded, &remarks);
        LogRemarks("PLDF of a machine", remarks);
    } catch (const TavAM::FileError& error) {
        LogReason("Machine configuration", error.what());
        Throw(ErrorCode::PldfError, QT_TRANSLATE_NOOP("MachineService", "Error loading PLDF file."));
    }
    MachineLayer::Utilities::MergeMachineConfiguration(io_data, *loaded);
    return true;
}

bool UpdatePlatformGeometry(MachineLayer::IMachineData& io_data, const std::vector<Platform>& i_items)
{
    const auto geometry = MachineLayer::CreateMachineData();
    const bool isRead =
        ReadItem(i_items, PlatformDataKind::Geometry, "Platform geometry", [&geometry](const std::string& i_document) {
            std::vector<std::string> remarks;
            MachineLayer::Utilities::ReadPlatformGeometry(i_document, *geometry, &remarks);
            LogRemarks("Platform geometry", remarks);
        });
    if (isRead)
        MachineLayer::Utilities::MergePlatformGeometry(io_data, *geometry);
    return isRead;
}

bool TakeMachineData(MachineLayer::IMachineData& io_data, const std::vector<Platform>& i_items)
{
    return ReadItem(i_items, PlatformDataKind::MachineData, "Machine data", [&io_data](const std::string& i_document) {
        std::vector<std::string> remarks;
        MachineLayer::Utilities::ReadMachineData(i_document, io_data, &remarks);
        LogRemarks("Machine data", remarks);
    });
}

} // namespace MachineService
