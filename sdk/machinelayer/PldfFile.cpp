#include "machinelayer/PldfFile.h"

#include "machinelayer/MachineDescription.h"

#include "tavam/AtomicFile.h"
#include "tavam/FileError.h"

#include <stdexcept>
#include <utility>

namespace MachineLayer::Utilities {

namespace {

constexpr char ConfigurationRoot[] = "MachineConfiguration";
constexpr char GeometryRoot[] = "PlatformGeometry";
constexpr char MachineDataRoot[] = "MachineData";

std::string Write(Node i_node, const char* ip_root)
{
    i_node.name = ip_root;
    return WriteDocument(i_node);
}

} // namespace

void LoadMachineDataPLDF(const std::filesystem::path& i_path, IMachineData& o_data)
{
    try {
        o_data.Edit() = ReadMachine(ReadDocument(i_path, MakeMachineSchema(ConfigurationRoot)));
    } catch (const std::exception& error) {
        throw TavAM::FileError("The machine configuration " + i_path.string() + " cannot be read: " + error.what());
    }
}

void SaveMachineDataPLDF(const std::filesystem::path& i_path, const IMachineData& i_data)
{
    try {
        const std::string document = WriteMachineDataPLDF(i_data);
        TavAM::AtomicFile file(i_path);
        file.Write(document);
        // Without it a power cut after the rename may leave an empty file under the final name.
        file.Sync();
        file.TakeRightsOfTarget();
        file.Commit();
    } catch (const TavAM::FileError& error) {
        throw TavAM::FileError("The machine configuration " + i_path.string() + " cannot be written: " + error.what() +
                               ".");
    } catch (const std::exception& error) {
        throw TavAM::FileError("The machine configuration " + i_path.string() + " cannot be written: " + error.what());
    }
}

std::string WriteMachineDataPLDF(const IMachineData& i_data)
{
    return Write(DescribeMachine(i_data.Get()), ConfigurationRoot);
}

void ReadPlatformGeometry(std::string_view i_document, IMachineData& o_data)
{
    const Data::Machine read = ReadMachine(ReadDocument(i_document, MakeMachineSchema(GeometryRoot)));
    Data::Machine& machine = o_data.Edit();
    machine.platformShape = read.platformShape;
    machine.platformGeometry = read.platformGeometry;
    machine.scanFields = read.scanFields;
}

std::string WritePlatformGeometry(const IMachineData& i_data)
{
    return Write(DescribePlatform(i_data.Get()), GeometryRoot);
}

void ReadMachineData(std::string_view i_document, IMachineData& o_data)
{
    o_data.Edit() = ReadMachine(ReadDocument(i_document, MakeMachineSchema(MachineDataRoot)));
}

std::string WriteMachineData(const IMachineData& i_data)
{
    return Write(DescribeMachine(i_data.Get()), MachineDataRoot);
}

} // namespace MachineLayer::Utilities
