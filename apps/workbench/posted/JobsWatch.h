#pragma once

#include "tavsdk/Mutex.h"
#include "workbench/posted/IJobSource.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <set>
#include <stop_token>
#include <string>
#include <thread>

namespace Workbench {

/// Listens to a Machine Manager on a thread of its own, and looks for it again whenever it is lost.
///
/// What changes while the receiver is busy is collected, however much it is.
///
/// Thread: UI thread. Destroying it ends the thread, as soon as the source's calls end.
class JobsWatch final : public QObject
{
    Q_OBJECT

public:
    struct Changes
    {
        bool isAll = false;         ///< anything may have changed
        bool areMachines = false;   ///< and so why jobs wait
        std::set<std::string> jobs; ///< ids
    };

    /// \param i_patience for how long a manager that is not there is taken for one that starts.
    JobsWatch(MakeJobSource i_make_source, std::chrono::milliseconds i_patience, QObject* ip_parent = nullptr);
    ~JobsWatch() override;

    /// Everything since the last call.
    Changes Take();

Q_SIGNALS:
    /// The manager is there; before the changes that it tells.
    void Reached(const QString& i_user);
    /// Once for each time that it is lost.
    void Lost(const QString& i_sentence);
    /// There is something to take.
    void Changed();

private:
    void _Run();
    void _Listen();
    void _Note(const Hosting::Jobs::Change& i_change);
    /// \return false as soon as the thread shall end.
    bool _Wait(std::chrono::milliseconds i_time) const;

    const MakeJobSource _makeSource;
    const std::chrono::milliseconds _patience;
    std::stop_source _stop;
    bool _wasReached = false; ///< of the thread alone
    TavSDK::Mutex _mutex;     ///< guards _changes and _isTold
    Changes _changes TAVSDK_GUARDED_BY(_mutex);
    bool _isTold TAVSDK_GUARDED_BY(_mutex) = false; ///< that there is something to take
    std::thread _thread;                            ///< begun last
};

} // namespace Workbench
