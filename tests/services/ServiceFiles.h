#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "client/interface/Machine.h"
#include "client/interface/ScopedTempDir.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/Texts.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/Platform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>

namespace MachineService::Testing {

/// Time in which anything that a test waits for must have happened.
inline constexpr std::chrono::seconds Patience(30);

/// Folders and settings below one temporary folder.
class TestUtility final : public AbstractPluginUtility
{
public:
    TestUtility(std::filesystem::path i_dir, std::map<std::string, std::string> i_settings)
        : _dir(std::move(i_dir))
        , _settings(std::move(i_settings))
    {}

    std::filesystem::path GetConfigurationDir() const override { return _dir / "configuration"; }
    std::filesystem::path GetDataDir() const override { return _dir / "data"; }
    std::optional<std::string> GetSetting(const std::string& i_name) const override
    {
        const auto found = _settings.find(i_name);
        return found == _settings.end() ? std::nullopt : std::optional(found->second);
    }

private:
    const std::filesystem::path _dir;
    const std::map<std::string, std::string> _settings;
};

/// What other threads report, to be waited for.
template <class Item>
class Journal
{
public:
    void Add(Item i_item)
    {
        const std::lock_guard lock(_mutex);
        _items.push_back(std::move(i_item));
        _changed.notify_all();
    }
    /// True as soon as the items so far satisfy the condition, false when the time is over.
    bool WaitFor(const std::function<bool(const std::vector<Item>&)>& i_condition,
                 std::chrono::milliseconds i_time = Patience)
    {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, i_time, [&] { return i_condition(_items); });
    }
    std::vector<Item> Take()
    {
        const std::lock_guard lock(_mutex);
        return std::exchange(_items, {});
    }

private:
    std::mutex _mutex; ///< guards _items
    std::condition_variable _changed;
    std::vector<Item> _items;
};

using TestSupport::Failure;
using TestSupport::GetFailure;
using TestSupport::ReadFile;
using TestSupport::Replaced;
using TestSupport::WriteFile;

/// A profile of a small printer, to be varied.
inline std::string MakeProfile(const std::string& i_id = "11111111-2222-3333-4444-555555555555")
{
    return R"({
"id": ")" + i_id +
           R"(", "name": "Test printer", "manufacturer": "Test maker", "modelId": "t1", "driverId": "d1",
"technology": "fff", "bed": {"shape": "rectangle", "width": 100, "depth": 100}, "height": 50,
"nozzleDiameter": 0.4, "layerHeights": [0.3], "engineDeadline": 60, "queueState": "running",
"materials": [{"name": "PLA", "density": 1.25, "diameter": 1.75, "nozzleTemperature": 210, "bedTemperature": 60}],
"strategies": [{"id": "s1", "name": "Solid", "role": "part"}],
"engine": {"perimeters": 2}
})";
}

inline TavAM::Mesh MakeBox(float i_x, float i_y, float i_z, float i_width, float i_depth, float i_height)
{
    TavAM::Mesh mesh;
    for (int corner = 0; corner < 8; ++corner) {
        mesh.vertices.push_back(
            {i_x + (corner & 4 ? i_width : 0), i_y + (corner & 2 ? i_depth : 0), i_z + (corner & 1 ? i_height : 0)});
    }
    mesh.triangles = {{0, 1, 3}, {0, 3, 2}, {4, 6, 7}, {4, 7, 5}, {0, 4, 5}, {0, 5, 1},
                      {2, 3, 7}, {2, 7, 6}, {0, 2, 6}, {0, 6, 4}, {1, 5, 7}, {1, 7, 3}};
    return mesh;
}

inline TavAM::Representation ToRepresentation(TavAM::Mesh i_mesh)
{
    return TavAM::Representation::FromMesh(std::make_shared<const TavAM::Mesh>(std::move(i_mesh)));
}

inline TavAM::Part MakePart(const std::wstring& i_name, TavAM::Representation i_representation)
{
    TavAM::Part part;
    part.SetName(i_name);
    part.SetRepresentation(std::move(i_representation));
    return part;
}

} // namespace MachineService::Testing
