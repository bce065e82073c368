#include "remote/trust/Pins.h"

#include "contract/Failure.h"
#include "remote/Log.h"
#include "remote/trust/Fingerprint.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <sstream>
#include <utility>

namespace MachineService::Remote {

namespace {

constexpr std::uint64_t MaxBytes = 1'000'000;

} // namespace

Pins::Pins(std::filesystem::path i_file)
    : _file(std::move(i_file))
{}

std::map<std::string, std::string> Pins::_Read() const
{
    std::map<std::string, std::string> pins;
    if (_file.empty())
        return pins;
    try {
        auto file = TavSDK::InputFile::OpenIfThere(_file);
        if (!file)
            return pins;
        std::istringstream lines(file->ReadAll(MaxBytes));
        int number = 0;
        for (std::string line; std::getline(lines, line);) {
            ++number;
            if (line.empty())
                continue;
            const auto space = line.find(' ');
            const auto fingerprint =
                space == std::string::npos ? std::nullopt : ReadFingerprint(std::string_view(line).substr(space + 1));
            if (!fingerprint)
                throw TavSDK::FileError("line " + std::to_string(number) + " is not an address and a fingerprint");
            pins[line.substr(0, space)] = *fingerprint;
        }
        return pins;
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::FileError, "The file with the certificates of machine services that were confirmed, " +
                                       TavSDK::Quote(TavSDK::ShowPath(_file)) + ", cannot be read: " + failure.what() +
                                       "; correct or remove it.");
    }
}

std::optional<std::string> Pins::Find(const std::string& i_address) const
{
    {
        const TavSDK::MutexLock lock(_mutex);
        if (const auto found = _unwritten.find(i_address); found != _unwritten.end())
            return found->second;
    }
    const auto pins = _Read();
    const auto found = pins.find(i_address);
    return found == pins.end() ? std::nullopt : std::optional(found->second);
}

void Pins::Add(const std::string& i_address, const std::string& i_fingerprint)
{
    try {
        if (!_file.empty()) {
            auto pins = _Read();
            pins[i_address] = i_fingerprint;
            std::string bytes;
            for (const auto& [address, fingerprint] : pins)
                bytes += address + ' ' + ShowFingerprint(fingerprint) + '\n';
            std::filesystem::create_directories(_file.parent_path());
            TavSDK::AtomicFile file(_file);
            file.Write(bytes);
            file.Commit();
            return;
        }
    } catch (const std::exception& failure) {
        qCWarning(RemoteLog, "The certificate of %s cannot be kept in '%s': %s", i_address.c_str(),
                  TavSDK::ShowPath(_file).c_str(), failure.what());
    }
    const TavSDK::MutexLock lock(_mutex);
    _unwritten[i_address] = i_fingerprint;
}

} // namespace MachineService::Remote
