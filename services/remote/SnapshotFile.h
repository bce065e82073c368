#pragma once

#include "remote/IconStore.h"
#include "remote/MachineStore.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::Remote {

/// What a service told last, for a start without it.
struct Snapshot
{
    Position position;
    std::vector<std::shared_ptr<StoredMachine>> machines;
    std::vector<MachinePicture> icons;
    std::chrono::system_clock::time_point time; ///< when it was told
};

/// Keeps the last snapshot of one service on the disk.
///
/// Thread: one at a time.
class SnapshotFile
{
public:
    /// \param i_folder made when something is kept; empty: nothing is.
    /// \param i_address of the service; part of what is checked, so that nobody else's machines are taken.
    SnapshotFile(const std::filesystem::path& i_folder, std::string i_address);

    /// Empty when there is none; a damaged one is told to the log and passed over.
    std::optional<Snapshot> Read() const;
    /// What cannot be written is told to the log.
    void Write(const MachineStore& i_machines, const IconStore& i_icons) const;

private:
    std::filesystem::path _file;
    const std::string _address;
};

} // namespace MachineService::Remote
