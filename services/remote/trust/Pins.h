#pragma once

#include "tavsdk/Mutex.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace MachineService::Remote {

/// Which certificates users confirmed, by the addresses of the services.
///
/// Kept as lines "ADDRESS FINGERPRINT". The file is read with each question, so that what another program adds, and
/// what a user takes out, counts at once. Of two programs that add at the same moment one may win: the other's user is
/// asked again.
///
/// Thread: any; blocks for the file.
class Pins
{
public:
    /// \param i_file empty: they count until this goes.
    explicit Pins(std::filesystem::path i_file);

    /// The fingerprint, see trust/Fingerprint.h; empty when there is none.
    /// \throws CommunicationException FileError that names the file: nobody is trusted who might not be the one.
    std::optional<std::string> Find(const std::string& i_address) const;
    /// What cannot be written is told to the log, and counts until this goes.
    void Add(const std::string& i_address, const std::string& i_fingerprint);
    const std::filesystem::path& GetFile() const { return _file; }

private:
    std::map<std::string, std::string> _Read() const;

    const std::filesystem::path _file;
    mutable TavSDK::Mutex _mutex; ///< guards _unwritten
    std::map<std::string, std::string> _unwritten TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::Remote
