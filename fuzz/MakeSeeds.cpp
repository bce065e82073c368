// Writes what the fuzzers begin with: a folder for each target, made by the project's own writers.
#include "buildprocessor/commands/CommandIcons.h"
#include "buildprocessor/machines/ShippedProfiles.h"
#include "contract/PlatformChoices.h"
#include "machineconfig/MachineConfigurations.h"
#include "machinelayer/Pldf.h"
#include "machinelayer/PldfFile.h"
#include "platform/PlatformCreationParameters.h"
#include "sdk/tavam/PlatformSamples.h"
#include "sdk/vexlorcore/meshimport/MeshVariants.h"
#include "services/ServiceFiles.h"
#include "vexlorcore/DataSet.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/SceneFile.h"

#include "WireSeeds.h"

#include <QBuffer>
#include <QImage>

#include <cmath>
#include <numbers>
#include <sstream>

namespace {

namespace fs = std::filesystem;

/// A machine file of a cube of 4 mm whose corner nearest to the origin is at (4, 4), in layers of 0.25 mm.
std::string MakeGCode()
{
    constexpr double width = 0.45;
    constexpr double height = 0.25;
    constexpr double filament = 1.75 * 1.75 * std::numbers::pi / 4;
    std::ostringstream text;
    text << "; external perimeters extrusion width = " << width << "mm\nM140 S60\nM104 S210\nG28\nG90\nM83\n";
    double pushed = 0;
    const auto line = [&](double i_x0, double i_y0, double i_x1, double i_y1) {
        const double length = std::hypot(i_x1 - i_x0, i_y1 - i_y0);
        const double push = length * height * (width - height * (1 - std::numbers::pi / 4)) / filament;
        pushed += push;
        text << "G1 X" << i_x0 << " Y" << i_y0 << "\nG1 X" << i_x1 << " Y" << i_y1 << " E" << push << '\n';
    };
    for (int layer = 1; layer <= 16; ++layer) {
        const double low = 4 + width / 2;
        const double high = 8 - width / 2;
        text << ";LAYER_CHANGE\n;Z:" << layer * height << "\n;HEIGHT:" << height << "\nG1 Z" << layer * height
             << "\n; printing object cube id:0 copy 0\n;TYPE:External perimeter\n;WIDTH:" << width << '\n';
        line(low, low, high, low);
        line(high, low, high, high);
        line(high, high, low, high);
        line(low, high, low, low);
        text << ";TYPE:Internal infill\n";
        for (double y = 5; y < 7.5; y += 1)
            line(4.6, y, 7.4, y);
        text << "; stop printing object cube id:0 copy 0\n";
    }
    text << "M104 S0\nM140 S0\nM84\n; filament used [mm] = " << pushed
         << "\n; estimated printing time (normal mode) = 1m 2s\n; prusaslicer_config = begin\n; perimeters = 1\n"
            "; prusaslicer_config = end\n";
    return text.str();
}

QByteArray Encode(const QImage& i_image, const char* ip_format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    i_image.save(&buffer, ip_format);
    return bytes;
}

/// An archive of layers of 0.5 mm, whose images have the size of the target's display.
std::string MakeResinArchive()
{
    QImage layer(32, 24, QImage::Format_Grayscale8);
    layer.fill(0);
    for (int y = 8; y < 16; ++y) {
        for (int x = 16; x < 24; ++x)
            layer.setPixel(x, y, qRgb(255, 255, 255));
    }
    const std::string image = Encode(layer, "PNG").toStdString();
    MeshVariants::Entries entries = {
        {"config.ini", "numFast = 8\nlayerHeight = 0.5\nprintTime = 60\nusedMaterial = 0.1\n"},
        {"prusaslicer.ini",
         "display_mirror_x = 1\ninitial_layer_height = 0.5\nlayer_height = 0.5\nfaded_layers = 3\n"}};
    for (int number = 0; number < 8; ++number)
        entries.emplace_back("job0000" + std::to_string(number) + ".png", image);
    return MeshVariants::MakePackage(entries);
}

class Seeds
{
public:
    explicit Seeds(fs::path i_folder)
        : _folder(std::move(i_folder))
    {}

    void Add(const std::string& i_target, const std::string& i_name, const std::string& i_bytes) const
    {
        TestSupport::WriteFile(Get(i_target, i_name), i_bytes);
    }
    fs::path Get(const std::string& i_target, const std::string& i_name) const
    {
        fs::create_directories(_folder / i_target);
        return _folder / i_target / i_name;
    }

private:
    const fs::path _folder;
};

void AddDocuments(const Seeds& i_seeds)
{
    using namespace MachineService;
    const auto data = MachineLayer::CreateMachineData();
    data->Edit() = TestSupport::MakeFullMachine();
    i_seeds.Add("pldf", "data", MachineLayer::Utilities::WriteMachineData(*data));
    i_seeds.Add("pldf", "geometry", MachineLayer::Utilities::WritePlatformGeometry(*data));
    i_seeds.Add("pldf", "record", MachineLayer::Utilities::WriteMachineDataPLDF(*data));
    const std::string configuration = WriteMachineConfiguration(MachineConfigurationFromMachineData(*data));
    i_seeds.Add("configuration", "full", configuration);
    i_seeds.Add("xml", "configuration", configuration);
    const PlatformDescription description = {
        "Platform",
        "A comment & more",
        {"PLA", "PETG"},
        {{.id = "B", .name = "Plate", .items = {{.id = "steel", .name = "Steel"}, {.id = "glass", .name = "Glass"}}}}};
    i_seeds.Add("platforminformation", "two", WritePlatformInformation(description));
    WritePlatformCreationParameters(i_seeds.Get("chosenvalues", "one").wstring().c_str(), {{L"B", L"steel"}});
    for (const auto& [name, text] : BuildProcessor::GetShippedProfiles())
        i_seeds.Add("profile", name, text);
    i_seeds.Add("profile", "small", MachineService::Testing::MakeProfile());
    for (const char* time : {"2026-11-21T12:00:00Z", "0001-01-01T00:00:00.123+02:00", "9999-12-31T23:59:59-23:59"})
        i_seeds.Add("time", std::string(time, 4), time);
    for (const auto& [name, text] :
         {std::pair{"head", "POST /jobs?text=a+b&state=pending HTTP/1.1\r\nHost: 127.0.0.1:80\r\nRange: "
                            "bytes=0-9\r\nContent-Length: 12\r\nCookie: session=a; b=c\r\n\r\n"},
          std::pair{"form", "token=0123456789abcdef&phase=waiting&name=a+b%26%C3%A4"}, std::pair{"range", "bytes=2-4"},
          std::pair{"piece", "bytes 0-9/20"}, std::pair{"language", "fr, de;q=0.3, en-GB;q=0.7"},
          std::pair{"loaded", R"({"material":"PETG","nozzle":0.4,"plate":"Smooth"})"},
          std::pair{"job", R"({"id":"5b1d6f0e-6a0c-4c1e-9f4e-2d7a61c0a101","name":"bracket","priority":50,
        "copies":2,"draft":true,"target":{"machine":null,"model":"Kestrel"},"platform":{"name":"bracket.TavAMX","size":12,
        "sha256":"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"},"needs":{"nozzle":0.4},
        "estimates":{"seconds":60},"settings":{"plate":"Smooth"},"order":[{}]})"}})
        i_seeds.Add("pagerequest", name, text);
}

void AddPackages(const Seeds& i_seeds)
{
    TavAM::Platform platform = MakeRichPlatform();
    TavAM::AMXFileWriter().WriteFile(i_seeds.Get("amx", "rich"), platform);
    VexlorCore::Database database;
    VexlorCore::DataSet* const scene = database.CreateDataSet();
    const auto data = MachineLayer::CreateMachineData();
    data->Edit() = TestSupport::MakeFullMachine();
    platform.SetMachine(MachineLayer::PLDF::ConvertToMachineParameters(*data));
    scene->GetPlatform() = platform;
    VexlorCore::SaveScene(*scene, i_seeds.Get("scene", "full"));
    i_seeds.Add("zip", "two", MeshVariants::MakePackage({{"a.txt", "text"}, {"folder/b", std::string(5'000, 'b')}}));
}

void AddMeshesAndMachineFiles(const Seeds& i_seeds)
{
    using namespace MeshVariants;
    i_seeds.Add("stl", "binary", MakeBinaryStl());
    i_seeds.Add("stl", "text", MakeTextStl("x"));
    i_seeds.Add("obj", "plain", MakeObj() + "g a\nusemtl m\nvn 0 0 1\nvt 0 0\nf 1/1/1 2//1 -1\n");
    i_seeds.Add("ply", "text", MakePly());
    std::string binary = Replace(MakePly().substr(0, MakePly().find("0 0 0")), "ascii", "binary_little_endian");
    for (const auto& corner : Corners)
        binary.append(reinterpret_cast<const char*>(corner), sizeof corner);
    for (const auto& face : Faces)
        binary.append(1, '\3').append(reinterpret_cast<const char*>(face), sizeof face);
    i_seeds.Add("ply", "binary", binary);
    i_seeds.Add("3mf", "plain", Make3mf(MakeModel("millimeter", OneItem)));
    i_seeds.Add("3mf", "component",
                Make3mf(MakeModel("inch", "<item objectid=\"2\"/>" + OneItem,
                                  "<object id=\"2\" type=\"model\" name=\"two\"><components><component objectid=\"1\" "
                                  "transform=\"1 0 0 0 1 0 0 0 -1 0 0 0\"/></components></object>")));
    i_seeds.Add("gcode", "cube", MakeGCode());
    i_seeds.Add("resin", "cube", MakeResinArchive());
    QImage image(9, 7, QImage::Format_ARGB32);
    image.fill(Qt::darkCyan);
    for (const char* format : {"PNG", "BMP", "JPG"})
        i_seeds.Add("icon", format, Encode(image, format).toStdString());
}

} // namespace

int main(int i_argc, char** ip_argv)
try {
    if (i_argc != 2) {
        std::fprintf(stderr, "Usage: %s FOLDER\n", ip_argv[0]);
        return 2;
    }
    const Seeds seeds(ip_argv[1]);
    AddDocuments(seeds);
    AddPackages(seeds);
    AddMeshesAndMachineFiles(seeds);
    for (const auto& [target, name, bytes] : Fuzz::MakeWireSeeds())
        seeds.Add(target, name, bytes);
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
}
