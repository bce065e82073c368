#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/engine/Estimates.h"
#include "contract/Failure.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Text.h"
#include "tavsdk/ZipReader.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

/// One for each layer.
constexpr std::uint64_t MaxEntries = 100'000;
constexpr std::uint64_t MaxConfigBytes = 100'000;
constexpr std::string_view PngSignature = "\x89PNG\r\n\x1a\n";

[[noreturn]] void FailFile(const std::string& i_what)
{
    Fail(ErrorCode::InternalError, "The slicing engine's machine file is not usable: " + i_what + '.');
}

/// Lines "name = value".
std::map<std::string, std::string> ReadConfig(const std::string& i_text)
{
    std::map<std::string, std::string> values;
    for (std::size_t begin = 0; begin < i_text.size();) {
        const std::size_t end = std::min(i_text.find('\n', begin), i_text.size());
        const std::string line = i_text.substr(begin, end - begin);
        if (const std::size_t equals = line.find(" = "); equals != std::string::npos)
            values[line.substr(0, equals)] = line.substr(equals + 3);
        begin = end + 1;
    }
    return values;
}

double GetPositive(const std::map<std::string, std::string>& i_values, const char* ip_name)
{
    const auto found = i_values.find(ip_name);
    const auto value = found == i_values.end() ? std::nullopt : TavSDK::ParseNumber(found->second);
    if (!value || !(*value > 0))
        FailFile(std::string("its value ") + ip_name + " is missing");
    return *value;
}

} // namespace

Estimates ReadResinEstimates(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                             std::stop_token i_stop)
{
    Estimates estimates;
    std::string config;
    try {
        const TavSDK::ZipReader archive(i_path, {.entries = MaxEntries});
        for (const std::string& name : archive.GetNames()) {
            ThrowIfStopped(i_stop);
            if (name == "config.ini") {
                config = archive.ReadBytes(name, MaxConfigBytes);
            } else if (name.ends_with(".png") && name.find('/') == std::string::npos) {
                std::string signature(PngSignature.size(), '\0');
                archive.Open(name).Read(signature.data(), signature.size());
                if (signature != PngSignature)
                    FailFile("layer " + std::to_string(estimates.layers + 1) + " is not an image");
                ++estimates.layers;
            }
        }
    } catch (const TavSDK::FileError& failure) {
        FailFile(failure.what());
    }
    const auto values = ReadConfig(config);
    if (estimates.layers == 0 || static_cast<double>(estimates.layers) != GetPositive(values, "numFast"))
        FailFile("it does not hold the layers that it tells of");
    if (static_cast<double>(estimates.layers - 1) * GetPositive(values, "layerHeight") > i_profile.height)
        FailFile("a layer lies above the machine's height");
    estimates.seconds = GetPositive(values, "printTime");
    estimates.cubicCentimetres = GetPositive(values, "usedMaterial");
    estimates.grams = estimates.cubicCentimetres * i_profile.GetDefaultMaterial().density;
    return estimates;
}

} // namespace MachineService::BuildProcessor
