#include "buildprocessor/Figures.h"

#include "buildprocessor/Failure.h"

#include <zip.h>

#include <charconv>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

constexpr zip_uint64_t MaxConfigBytes = 100'000;
constexpr std::string_view PngSignature = "\x89PNG\r\n\x1a\n";

[[noreturn]] void FailFile(const std::string& i_what)
{
    Fail(ErrorCode::InternalError, "The slicing engine's machine file is not usable: " + i_what + '.');
}

std::string ReadEntry(zip_t* ip_archive, zip_uint64_t i_index, zip_uint64_t i_max_bytes)
{
    const std::unique_ptr<zip_file_t, decltype(&zip_fclose)> file(zip_fopen_index(ip_archive, i_index, 0), &zip_fclose);
    std::string text(i_max_bytes, '\0');
    const zip_int64_t size = file ? zip_fread(file.get(), text.data(), i_max_bytes) : -1;
    if (size < 0)
        FailFile("an entry cannot be read");
    text.resize(static_cast<std::size_t>(size));
    return text;
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
    double value = 0;
    if (found != i_values.end())
        std::from_chars(found->second.data(), found->second.data() + found->second.size(), value);
    if (!std::isfinite(value) || !(value > 0))
        FailFile(std::string("its figure ") + ip_name + " is missing");
    return value;
}

} // namespace

Figures ReadResinFigures(const std::filesystem::path& i_path, const MachineProfile& i_profile, std::stop_token i_stop)
{
    int error = 0;
    const std::unique_ptr<zip_t, decltype(&zip_discard)> archive(zip_open(i_path.c_str(), ZIP_RDONLY, &error),
                                                                 &zip_discard);
    if (!archive)
        FailFile("it is not an archive");
    Figures figures;
    std::string config;
    const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    for (zip_int64_t index = 0; index < count; ++index) {
        if (i_stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        const auto entry = static_cast<zip_uint64_t>(index);
        const char* const text = zip_get_name(archive.get(), entry, 0);
        const std::string_view name = text ? text : "";
        if (name == "config.ini") {
            config = ReadEntry(archive.get(), entry, MaxConfigBytes);
        } else if (name.ends_with(".png") && name.find('/') == std::string_view::npos) {
            if (ReadEntry(archive.get(), entry, PngSignature.size()) != PngSignature)
                FailFile("layer " + std::to_string(figures.layers + 1) + " is not an image");
            ++figures.layers;
        }
    }
    const auto values = ReadConfig(config);
    if (figures.layers == 0 || static_cast<double>(figures.layers) != GetPositive(values, "numFast"))
        FailFile("it does not hold the layers that it tells of");
    if (static_cast<double>(figures.layers - 1) * GetPositive(values, "layerHeight") > i_profile.height)
        FailFile("a layer lies above the machine's height");
    figures.seconds = GetPositive(values, "printTime");
    figures.cubicCentimetres = GetPositive(values, "usedMaterial");
    figures.grams = figures.cubicCentimetres * i_profile.GetDefaultMaterial().density;
    return figures;
}

} // namespace MachineService::BuildProcessor
