#include "remote/SnapshotFile.h"

#include "hashing/Sha256.h"
#include "remote/Log.h"
#include "remote/StoredMessages.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"

#include <machineservice/v1/machines.pb.h>

#include <stdexcept>
#include <system_error>

namespace MachineService::Remote {

namespace {

namespace pb = machineservice::v1;

constexpr std::string_view Beginning = "machineservice snapshot 1\n";
constexpr std::uint64_t MaxBytes = 512ULL * 1024 * 1024;
constexpr std::size_t HashBytes = 32;
constexpr std::size_t MachinesOfPage = 200;

std::string ToHex(std::string_view i_bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : i_bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

/// Records: a length in four bytes, and as many bytes.
void AddRecord(std::string_view i_record, std::string& io_bytes)
{
    for (int shift = 0; shift < 32; shift += 8)
        io_bytes += static_cast<char>((i_record.size() >> shift) & 0xFF);
    io_bytes += i_record;
}

class Records
{
public:
    explicit Records(std::string_view i_bytes)
        : _bytes(i_bytes)
    {}

    bool IsAtEnd() const { return _bytes.empty(); }
    std::string_view Next()
    {
        std::size_t size = 0;
        if (_bytes.size() < 4)
            throw std::runtime_error("it ends in the middle");
        for (std::size_t index = 0; index < 4; ++index)
            size |= std::size_t(static_cast<unsigned char>(_bytes[index])) << (8 * index);
        _bytes.remove_prefix(4);
        if (size > _bytes.size())
            throw std::runtime_error("it ends in the middle");
        const auto record = _bytes.substr(0, size);
        _bytes.remove_prefix(size);
        return record;
    }
    template <class Message>
    Message NextMessage()
    {
        Message message;
        const auto record = Next();
        if (!message.ParseFromArray(record.data(), static_cast<int>(record.size())))
            throw std::runtime_error("it holds what is no message");
        return message;
    }

private:
    std::string_view _bytes;
};

Snapshot ReadSnapshot(std::string_view i_bytes, const std::string& i_address)
{
    if (i_bytes.size() < Beginning.size() + HashBytes || !i_bytes.starts_with(Beginning))
        throw std::runtime_error("it is of another kind or version");
    const auto content = i_bytes.substr(0, i_bytes.size() - HashBytes);
    if (HashOf(content) != i_bytes.substr(content.size()))
        throw std::runtime_error("it does not match its hash");
    Records records(content.substr(Beginning.size()));
    if (records.Next() != i_address)
        throw std::runtime_error("it belongs to another service");
    Snapshot snapshot;
    for (bool isLast = false; !isLast;) {
        const auto event = records.NextMessage<pb::CatalogEvent>();
        snapshot.position = {event.epoch(), event.revision()};
        for (const auto& machine : event.snapshot().machines())
            snapshot.machines.push_back(ToStored(machine));
        isLast = event.snapshot().is_last();
    }
    while (!records.IsAtEnd()) {
        const auto icon = records.Next();
        snapshot.icons.emplace_back(std::vector<std::uint8_t>(icon.begin(), icon.end()));
    }
    return snapshot;
}

std::string WriteSnapshot(const MachineStore& i_machines, const IconStore& i_icons, const std::string& i_address)
{
    std::string bytes(Beginning);
    AddRecord(i_address, bytes);
    const auto position = i_machines.GetPosition();
    const auto machines = i_machines.GetAll();
    std::set<std::string> hashes;
    pb::CatalogEvent event;
    event.set_epoch(position.epoch);
    event.set_revision(position.revision);
    for (const auto& machine : machines) {
        *event.mutable_snapshot()->add_machines() = ToMessage(*machine);
        CollectHashes(*machine, hashes);
        if (static_cast<std::size_t>(event.snapshot().machines_size()) == MachinesOfPage) {
            AddRecord(event.SerializeAsString(), bytes);
            event.clear_snapshot();
        }
    }
    event.mutable_snapshot()->set_is_last(true);
    AddRecord(event.SerializeAsString(), bytes);
    for (const auto& hash : hashes) {
        if (const auto icon = i_icons.Find(hash); !icon.IsEmpty())
            AddRecord({reinterpret_cast<const char*>(icon.GetBytes().data()), icon.GetBytes().size()}, bytes);
    }
    return bytes + HashOf(bytes);
}

} // namespace

SnapshotFile::SnapshotFile(const std::filesystem::path& i_folder, std::string i_address)
    // An address is somebody's text, and never a file name.
    : _file(i_folder.empty() ? i_folder : i_folder / (ToHex(HashOf(i_address).substr(0, 16)) + ".snapshot"))
    , _address(std::move(i_address))
{}

std::optional<Snapshot> SnapshotFile::Read() const
{
    if (_file.empty())
        return std::nullopt;
    try {
        auto file = TavSDK::InputFile::OpenIfThere(_file);
        if (!file)
            return std::nullopt;
        auto snapshot = ReadSnapshot(file->ReadAll(MaxBytes), _address);
        snapshot.time = std::chrono::time_point_cast<std::chrono::system_clock::duration>(
            std::chrono::file_clock::to_sys(std::filesystem::last_write_time(_file)));
        return snapshot;
    } catch (const std::exception& failure) {
        qCWarning(RemoteLog, "The kept list of machines '%s' is passed over: %s", TavSDK::ShowPath(_file).c_str(),
                  failure.what());
        return std::nullopt;
    }
}

void SnapshotFile::Write(const MachineStore& i_machines, const IconStore& i_icons) const
{
    if (_file.empty())
        return;
    try {
        std::filesystem::create_directories(_file.parent_path());
        TavSDK::AtomicFile file(_file);
        file.Write(WriteSnapshot(i_machines, i_icons, _address));
        file.Commit();
    } catch (const std::exception& failure) {
        qCWarning(RemoteLog, "The list of machines cannot be kept in '%s': %s", TavSDK::ShowPath(_file).c_str(),
                  failure.what());
    }
}

} // namespace MachineService::Remote
