#include "machinelayer/PldfFile.h"

#include "machinelayer/MachineNodes.h"
#include "machinelayer/PldfXml.h"

#include "tavam/FileError.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <stdexcept>
#include <utility>

namespace MachineLayer::Utilities {

namespace {

constexpr char ConfigurationRoot[] = "MachineConfiguration";
constexpr char GeometryRoot[] = "PlatformGeometry";
constexpr char MachineDataRoot[] = "MachineData";

} // namespace

void LoadMachineDataPLDF(const std::filesystem::path& i_path, IMachineData& o_data,
                         std::vector<std::string>* op_remarks)
{
    try {
        o_data.Edit() = NodeToMachine(ReadPldf(i_path, ConfigurationRoot, op_remarks));
    } catch (const std::exception& error) {
        throw TavAM::FileError("The PLDF file " + TavSDK::Quote(TavSDK::ShowPath(i_path)) +
                               " cannot be read: " + error.what());
    }
}

void SaveMachineDataPLDF(const std::filesystem::path& i_path, const IMachineData& i_data)
{
    try {
        const std::string document = WriteMachineDataPLDF(i_data);
        TavSDK::AtomicFile file(i_path);
        file.Write(document);
        file.TakeRightsOfTarget();
        file.Commit();
    } catch (const std::exception& error) {
        throw TavAM::FileError("The PLDF file " + TavSDK::Quote(TavSDK::ShowPath(i_path)) +
                               " cannot be written: " + error.what() + ".");
    }
}

std::string WriteMachineDataPLDF(const IMachineData& i_data)
{
    return WritePldf(MachineToNode(i_data.Get(), true), ConfigurationRoot);
}

void ReadPlatformGeometry(std::string_view i_document, IMachineData& o_data, std::vector<std::string>* op_remarks)
{
    const Data::Machine read = NodeToMachine(ReadPldf(i_document, GeometryRoot, op_remarks));
    Data::Machine& machine = o_data.Edit();
    machine.platformShape = read.platformShape;
    machine.platformGeometry = read.platformGeometry;
    machine.scanFields = read.scanFields;
}

std::string WritePlatformGeometry(const IMachineData& i_data)
{
    return WritePldf(PlatformToNode(i_data.Get()), GeometryRoot);
}

void ReadMachineData(std::string_view i_document, IMachineData& o_data, std::vector<std::string>* op_remarks)
{
    o_data.Edit() = NodeToMachine(ReadPldf(i_document, MachineDataRoot, op_remarks));
}

std::string WriteMachineData(const IMachineData& i_data)
{
    return WritePldf(MachineToNode(i_data.Get(), true), MachineDataRoot);
}

} // namespace MachineLayer::Utilities
