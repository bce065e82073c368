#pragma once

#include "workbench/plate/Camera.h"
#include "workbench/plate/MeshForms.h"
#include "workbench/plate/PlateColours.h"
#include "workbench/plate/PlateScene.h"

#include <QImage>
#include <QObject>
#include <QString>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

class QOffscreenSurface;
class QSurfaceFormat;

namespace Workbench {

/// Draws pictures of a plate with OpenGL 3.3, core profile, by a thread of its own: a driver takes its time when it
/// meets something for the first time, and nobody waits for it.
///
/// \code
/// drawer.Request(job);              // what was asked for before is given up
/// ... NewsReady(): drawer.TakeNews().picture
/// \endcode
///
/// Thread: UI thread.
class PlateDrawer final : public QObject
{
    Q_OBJECT

public:
    struct Job
    {
        std::shared_ptr<const PlateScene> scene;
        std::vector<MeshSource> meshes;
        Camera camera;
        PlateColours colours;
        QSize size; ///< pixels of the picture
        /// While something moves a coarse form of the parts is drawn; once all is at rest the full form. Where that
        /// is fast enough, it is drawn always.
        bool isMoving = false;
        std::uint64_t revision = 0; ///< another one when something else is to be seen
    };
    struct Picture
    {
        QImage image; ///< null when none is new
        Camera camera;
        std::uint64_t revision = 0;
        bool isFull = false; ///< all parts whose forms were given, in full
    };
    struct News
    {
        Picture picture;              ///< the newest
        std::vector<MeshSource> sent; ///< their forms are not needed any more
        QString renderer; ///< "4.5 (Core Profile) ..., RENDERER": what the driver says of itself; empty before
        QString failure;  ///< why nothing will be drawn; empty while all is well
    };

    explicit PlateDrawer(QObject* ip_parent = nullptr);
    /// Waits for the step at hand.
    ~PlateDrawer() override;

    void Request(Job i_job);
    News TakeNews();

Q_SIGNALS:
    /// At least once after every change of the news.
    void NewsReady();

private:
    class Worker;

    void _MakeSurface(const QSurfaceFormat& i_format);
    void _Work(const std::stop_token& i_stop);
    QOffscreenSurface& _AwaitSurface(const QSurfaceFormat& i_format, const std::stop_token& i_stop);
    std::optional<Job> _TakeJob(const std::stop_token& i_stop);
    bool _IsOutOfDate(const std::stop_token& i_stop, std::uint64_t i_revision);
    /// Changes the news by i_change and tells of it.
    template <class Change>
    void _Tell(const Change& i_change);

    std::unique_ptr<QOffscreenSurface> _surface; ///< made by the UI thread once the worker asks

    std::mutex _mutex; ///< guards _job, _news, _isTold and _isSurfaceMade
    std::condition_variable_any _wake;
    std::optional<Job> _job;
    News _news;
    bool _isTold = false; ///< NewsReady() is on its way
    bool _isSurfaceMade = false;
    std::jthread _worker; ///< last: ended before what it uses goes
};

} // namespace Workbench
