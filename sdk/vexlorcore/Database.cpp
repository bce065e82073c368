#include "vexlorcore/Database.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace VexlorCore {

namespace {

class DatabaseSender final : public NotificationSender
{
public:
    explicit DatabaseSender(Database& io_database)
        : _database(io_database)
    {}
    void Send(const INotification& i_notification) override { _database.Send(i_notification); }

private:
    Database& _database;
};

} // namespace

Database::Database() = default;

Database::~Database()
{
    // Whoever still owns a scene must find neither the database nor its listeners through it.
    for (const auto& scene : _dataSets) {
        scene->_database = nullptr;
        scene->SetNotificationSender(nullptr);
    }
}

DataSet* Database::CreateDataSet()
{
    const std::shared_ptr<DataSet> scene(new DataSet(this));
    scene->SetNotificationSender(std::make_unique<DatabaseSender>(*this));
    _dataSets.push_back(scene);
    return scene.get();
}

DataSet* Database::CopyDataSet(DataSet* ip_original)
{
    if (!Contains(ip_original))
        throw std::invalid_argument("The scene is not of this database.");
    auto* copy = CreateDataSet();
    copy->SetPlatform(ip_original->GetPlatform());
    copy->_properties = ip_original->_properties;
    copy->_fileName = ip_original->_fileName;
    copy->_sliceStackCount = ip_original->_sliceStackCount;
    copy->_hybridCorePartCount = ip_original->_hybridCorePartCount;
    const std::weak_ptr<DataSet> watched = copy->weak_from_this();
    Send(DataSetCopied(ip_original, copy));
    return watched.expired() ? nullptr : copy;
}

void Database::CloseDataSet(DataSet* ip_data_set)
{
    if (!Contains(ip_data_set))
        return;
    const std::weak_ptr<const int> alive = _alive;
    Send(DataSetClosing(ip_data_set));
    // A listener may have closed it meanwhile, or all.
    if (alive.expired())
        return;
    const auto found =
        std::ranges::find_if(_dataSets, [&](const auto& i_scene) { return i_scene.get() == ip_data_set; });
    if (found == _dataSets.end())
        return;
    auto scene = std::move(*found);
    _dataSets.erase(found);
    scene->_database = nullptr;
    scene->SetNotificationSender(nullptr);
    const bool wasActive = _active == scene.get();
    if (wasActive)
        _active = nullptr;
    scene.reset();
    if (wasActive)
        Send(DataSetActivated());
}

std::vector<DataSet*> Database::GetDataSets() const
{
    std::vector<DataSet*> scenes;
    scenes.reserve(_dataSets.size());
    for (const auto& scene : _dataSets)
        scenes.push_back(scene.get());
    return scenes;
}

bool Database::Contains(const DataSet* ip_data_set) const
{
    return std::ranges::any_of(_dataSets, [&](const auto& i_scene) { return i_scene.get() == ip_data_set; });
}

void Database::SetActiveDataSet(DataSet* ip_data_set)
{
    if (ip_data_set && !Contains(ip_data_set))
        throw std::invalid_argument("The scene is not of this database.");
    if (ip_data_set == _active)
        return;
    _active = ip_data_set;
    Send(DataSetActivated());
}

} // namespace VexlorCore
