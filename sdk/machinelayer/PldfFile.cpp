#include "machinelayer/PldfFile.h"

#include "machinelayer/MachineDescription.h"

#include "tavam/FileError.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <stdlib.h>
#include <unistd.h>

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

/// A file that is removed unless it was renamed.
class UnfinishedFile
{
public:
    explicit UnfinishedFile(const std::filesystem::path& i_final_path)
        : _path(i_final_path.string() + ".XXXXXX")
        , _descriptor(::mkstemp(_path.data()))
    {
        if (_descriptor < 0)
            _Fail();
    }
    ~UnfinishedFile()
    {
        if (_descriptor >= 0)
            ::close(_descriptor);
        if (!_path.empty())
            ::unlink(_path.c_str());
    }
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    void Write(std::string_view i_bytes)
    {
        while (!i_bytes.empty()) {
            const ssize_t count = ::write(_descriptor, i_bytes.data(), i_bytes.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                _Fail();
            i_bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    void RenameTo(const std::filesystem::path& i_final_path)
    {
        // Without it a power cut after the rename may leave an empty file under the final name.
        if (::fsync(_descriptor) != 0)
            _Fail();
        if (::close(std::exchange(_descriptor, -1)) != 0 || ::rename(_path.c_str(), i_final_path.c_str()) != 0)
            _Fail();
        _path.clear();
    }

private:
    [[noreturn]] static void _Fail() { throw std::runtime_error(std::string(std::strerror(errno)) + "."); }

    std::string _path;
    int _descriptor;
};

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
        UnfinishedFile file(i_path);
        file.Write(document);
        file.RenameTo(i_path);
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
