#pragma once

#include "vexlorcore/DataSet.h"
#include "vexlorcore/Listener.h"
#include "vexlorcore_export.h"

#include <memory>
#include <vector>

namespace VexlorCore {

/// The open scenes of the host, one of them active.
///
/// Thread: UI thread. Listeners may close scenes, and the database, within what they are told.
class VEXLORCORE_EXPORT Database
{
public:
    Database();
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// An empty scene with a notification sender of this database, at the end of the list. Not activated.
    DataSet* CreateDataSet();
    /// A copy with the original's platform, transient properties and file name; sends DataSetCopied. Null when
    /// a listener closed it at once.
    DataSet* CopyDataSet(DataSet* ip_original);
    /// Sends DataSetClosing, then destroys the scene; if it was active, no scene is active and DataSetActivated is
    /// sent. Closing a scene that is not of this database is harmless.
    void CloseDataSet(DataSet* ip_data_set);

    /// In the order of creation.
    std::vector<DataSet*> GetDataSets() const;
    bool Contains(const DataSet* ip_data_set) const;
    /// Null when none is active.
    DataSet* GetActiveDataSet() const { return _active; }
    /// Null deactivates. Sends DataSetActivated when another scene becomes active.
    /// \throws std::invalid_argument for a scene of another database.
    void SetActiveDataSet(DataSet* ip_data_set);

    void AddListener(MListener* ip_listener) { _listeners.Add(ip_listener); }
    void RemoveListener(MListener* ip_listener) { _listeners.Remove(ip_listener); }
    void Send(const INotification& i_notification) { _listeners.Send(i_notification); }

private:
    ListenerList _listeners;
    std::vector<std::shared_ptr<DataSet>> _dataSets;
    DataSet* _active = nullptr;
    const std::shared_ptr<const int> _alive = std::make_shared<int>(0);
};

} // namespace VexlorCore
