#include "Comparison.h"

#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"

#include <zip.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

namespace Bench {

namespace {

/// A folder for one run of the benchmarks.
class Folder
{
public:
    Folder()
        : _path(std::filesystem::temp_directory_path() / ("machineservice-bench-" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(_path);
    }
    ~Folder() { std::filesystem::remove_all(_path); }
    std::filesystem::path operator/(const char* ip_name) const { return _path / ip_name; }

private:
    std::filesystem::path _path;
};

/// A sphere of about the given number of triangles: its coordinates compress as those of real parts do.
std::shared_ptr<const TavAM::Mesh> MakeSphere(std::uint32_t i_rings, double i_radius)
{
    auto mesh = std::make_shared<TavAM::Mesh>();
    const std::uint32_t sectors = i_rings;
    for (std::uint32_t ring = 0; ring <= i_rings; ++ring) {
        for (std::uint32_t sector = 0; sector < sectors; ++sector) {
            const double polar = M_PI * ring / i_rings;
            const double around = 2 * M_PI * sector / sectors;
            mesh->vertices.push_back({static_cast<float>(i_radius * std::sin(polar) * std::cos(around)),
                                      static_cast<float>(i_radius * std::sin(polar) * std::sin(around)),
                                      static_cast<float>(i_radius * std::cos(polar))});
        }
    }
    for (std::uint32_t ring = 0; ring < i_rings; ++ring) {
        for (std::uint32_t sector = 0; sector < sectors; ++sector) {
            const std::uint32_t next = (sector + 1) % sectors;
            const std::uint32_t a = ring * sectors + sector;
            const std::uint32_t b = ring * sectors + next;
            mesh->triangles.push_back({a, a + sectors, b});
            mesh->triangles.push_back({b, a + sectors, b + sectors});
        }
    }
    return mesh;
}

TavAM::Platform MakePlatform()
{
    TavAM::Platform platform;
    for (int number = 0; number < 8; ++number) {
        TavAM::Part part;
        part.SetName(L"Part " + std::to_wstring(number));
        part.SetRepresentation(TavAM::Representation::FromMesh(MakeSphere(150, 10.0 + number)));
        part.SetPlacement(TavAM::Transform::Translation(30.0 * number, 0, 10.0 + number));
        part.GetAMXProperties().SetText(L"Material", L"Resin");
        platform.GetParts().push_back(std::move(part));
    }
    return platform;
}

struct Entry
{
    std::string name;
    std::string bytes;
    zip_int32_t method = 0;
};

std::vector<Entry> ReadWithLibzip(const std::filesystem::path& i_path)
{
    zip_t* archive = zip_open(i_path.c_str(), ZIP_RDONLY, nullptr);
    if (!archive)
        std::abort();
    std::vector<Entry> entries;
    const auto count = static_cast<zip_uint64_t>(zip_get_num_entries(archive, 0));
    for (zip_uint64_t index = 0; index < count; ++index) {
        zip_stat_t stat;
        zip_stat_index(archive, index, 0, &stat);
        Entry& entry = entries.emplace_back();
        entry.name = stat.name;
        entry.method = stat.comp_method;
        entry.bytes.resize(stat.size);
        zip_file_t* file = zip_fopen_index(archive, index, 0);
        if (zip_fread(file, entry.bytes.data(), stat.size) != static_cast<zip_int64_t>(stat.size))
            std::abort();
        zip_fclose(file);
    }
    zip_discard(archive);
    return entries;
}

void WriteWithLibzip(const std::filesystem::path& i_path, const std::vector<Entry>& i_entries)
{
    zip_t* archive = zip_open(i_path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    for (const Entry& entry : i_entries) {
        zip_source_t* source = zip_source_buffer(archive, entry.bytes.data(), entry.bytes.size(), 0);
        const auto index = zip_file_add(archive, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8);
        // The fastest level, as ours: a better one would make the floor easy to beat.
        zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), entry.method, 1);
    }
    if (zip_close(archive) != 0)
        std::abort();
}

} // namespace

void AddFileBenchmarks()
{
    const auto folder = std::make_shared<Folder>();
    const auto platform = std::make_shared<TavAM::Platform>(MakePlatform());
    const auto path = *folder / "platform.TavAMX";
    TavAM::AMXFileWriter().WriteFile(path, *platform);
    const auto entries = std::make_shared<std::vector<Entry>>(ReadWithLibzip(path));

    Compare(
        ".TavAMX write", 1.3,
        [folder, platform] { TavAM::AMXFileWriter().WriteFile(*folder / "ours.TavAMX", *platform); },
        [folder, entries] { WriteWithLibzip(*folder / "floor.zip", *entries); });
    Compare(
        ".TavAMX read", 1.3,
        [folder, path] {
            TavAM::Database database;
            if (!TavAM::AMXFileReader().ReadFile(path, database))
                std::abort();
        },
        [folder, path] { benchmark::DoNotOptimize(ReadWithLibzip(path).size()); });
}

} // namespace Bench
