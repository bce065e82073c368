#include "workbench/plate/PlateDrawer.h"

#include "workbench/plate/GlMeshes.h"
#include "workbench/plate/PlateRenderer.h"

#include <QElapsedTimer>
#include <QMetaObject>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>

#include <algorithm>
#include <exception>
#include <limits>
#include <stdexcept>
#include <utility>

namespace Workbench {

namespace {

constexpr double ChunkMilliseconds = 8;     ///< between two looks at what else is asked for
constexpr double FastMilliseconds = 12;     ///< so fast the full form is drawn while something moves
constexpr double ShortMilliseconds = 80;    ///< so short that nobody misses a coarse form at rest
constexpr std::size_t PieceBytes = 2 << 20; ///< sent between two looks
constexpr std::size_t SmallestChunk = 2000; ///< triangles
constexpr int Samples = 4;
const char* const TooOld = "OpenGL 3.3 cannot be used.";

QSurfaceFormat MakeFormat()
{
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    return format;
}

double GetMilliseconds(const QElapsedTimer& i_timer)
{
    return static_cast<double>(i_timer.nsecsElapsed()) / 1e6;
}

/// Thrown out of a thread that is asked to stop while it waits.
struct Stopped
{};

} // namespace

/// Lives and draws on the drawing thread.
class PlateDrawer::Worker
{
public:
    Worker(PlateDrawer& io_drawer, const std::stop_token& i_stop)
        : _drawer(io_drawer)
        , _stop(i_stop)
    {
        _context.setFormat(MakeFormat());
        if (!QOpenGLContext::supportsThreadedOpenGL() || !_context.create())
            throw std::runtime_error(TooOld);
        QOffscreenSurface& surface = io_drawer._AwaitSurface(_context.format(), i_stop);
        if (!surface.isValid() || !_context.makeCurrent(&surface) || _context.format().version() < qMakePair(3, 3) ||
            !_gl.initializeOpenGLFunctions())
            throw std::runtime_error(TooOld);
        _meshes = std::make_unique<GlMeshes>(_gl);
        _renderer = std::make_unique<PlateRenderer>(_gl, *_meshes);
    }
    ~Worker()
    {
        // The surface goes after this; all else needs the context.
        _work.reset();
        _image.reset();
        _renderer.reset();
        _meshes.reset();
        _context.doneCurrent();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    QString GetName()
    {
        return QString::fromLatin1(reinterpret_cast<const char*>(_gl.glGetString(GL_VERSION))) + QStringLiteral(", ") +
               QString::fromLatin1(reinterpret_cast<const char*>(_gl.glGetString(GL_RENDERER)));
    }

    void Run(const Job& i_job)
    {
        _MakeBuffers(i_job.size);
        // At rest the picture before stays until the new one is whole, where that takes but a moment.
        const bool needsCoarse = i_job.isMoving || !_TakesLessThan(i_job, ShortMilliseconds);
        if (needsCoarse && _drawn != i_job.revision)
            _DrawCoarse(i_job, true);
        const bool wasWhole = _meshes->Update(i_job.meshes, 0);
        if (!wasWhole && !_Send(i_job))
            return;
        if (needsCoarse && !wasWhole)
            _DrawCoarse(i_job, true);
        if (!i_job.isMoving && _DrawFull(i_job) && !std::exchange(_isWarm, true)) {
            // So that the first movement does not wait for what the driver makes of the coarse form.
            if (!_IsOutOfDate(i_job))
                _DrawCoarse(i_job, false);
        }
    }

private:
    bool _IsOutOfDate(const Job& i_job) const { return _drawer._IsOutOfDate(_stop, i_job.revision); }

    bool _TakesLessThan(const Job& i_job, double i_milliseconds) const
    {
        return static_cast<double>(i_job.scene->CountTriangles()) < i_milliseconds * _trianglesPerMillisecond;
    }

    void _MakeBuffers(const QSize& i_size)
    {
        if (_image && _image->size() == i_size)
            return;
        QOpenGLFramebufferObjectFormat format;
        format.setAttachment(QOpenGLFramebufferObject::CombinedDepthStencil);
        _image = std::make_unique<QOpenGLFramebufferObject>(i_size, format);
        format.setSamples(Samples);
        _work = std::make_unique<QOpenGLFramebufferObject>(i_size, format);
    }

    /// \return false when something else is asked for.
    bool _Send(const Job& i_job)
    {
        while (!_meshes->Update(i_job.meshes, PieceBytes)) {
            if (_IsOutOfDate(i_job))
                return false;
        }
        _gl.glFinish();
        _drawer._Tell(
            [&](News& io_news) { io_news.sent.insert(io_news.sent.end(), i_job.meshes.begin(), i_job.meshes.end()); });
        return true;
    }

    void _Begin(const Job& i_job, QOpenGLFramebufferObject& io_target, PlateRenderer::Form i_form)
    {
        io_target.bind();
        _gl.glViewport(0, 0, io_target.width(), io_target.height());
        _renderer->Begin(*i_job.scene, i_job.camera, i_job.colours, i_form);
    }

    void _DrawCoarse(const Job& i_job, bool i_is_shown)
    {
        const bool isFast = i_is_shown && _TakesLessThan(i_job, FastMilliseconds);
        _Begin(i_job, *_image, isFast ? PlateRenderer::Form::Full : PlateRenderer::Form::Coarse);
        while (!_renderer->Draw(std::numeric_limits<std::size_t>::max() / 3)) {
        }
        if (i_is_shown)
            _Show(i_job, false);
    }

    /// \return false when something else is asked for.
    bool _DrawFull(const Job& i_job)
    {
        _Begin(i_job, *_work, PlateRenderer::Form::Full);
        _gl.glFinish();
        for (bool isWhole = false; !isWhole;) {
            if (_IsOutOfDate(i_job))
                return false;
            const auto chunk =
                std::max(SmallestChunk, static_cast<std::size_t>(_trianglesPerMillisecond * ChunkMilliseconds));
            const bool isMeasured = _renderer->IsDrawingParts();
            QElapsedTimer one;
            one.start();
            isWhole = _renderer->Draw(chunk);
            _gl.glFinish();
            if (isMeasured && _renderer->IsDrawingParts()) {
                const double now = static_cast<double>(chunk) / std::max(GetMilliseconds(one), 0.01);
                // Slower is believed at once, faster by and by: the next chunk must not take too long.
                _trianglesPerMillisecond =
                    now < _trianglesPerMillisecond ? now : 0.7 * _trianglesPerMillisecond + 0.3 * now;
            }
        }
        QOpenGLFramebufferObject::blitFramebuffer(_image.get(), _work.get());
        _Show(i_job, true);
        return true;
    }

    void _Show(const Job& i_job, bool i_is_full)
    {
        _image->bind();
        QImage image(_image->size(), QImage::Format_RGB32);
        _gl.glReadPixels(0, 0, image.width(), image.height(), GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, image.bits());
        image = std::move(image).mirrored();
        _drawn = i_job.revision;
        _drawer._Tell([&](News& io_news) {
            io_news.picture = {std::move(image), i_job.camera, i_job.revision, i_is_full};
        });
    }

    PlateDrawer& _drawer;
    const std::stop_token _stop;
    QOpenGLContext _context;
    QOpenGLFunctions_3_3_Core _gl;
    std::unique_ptr<GlMeshes> _meshes;
    std::unique_ptr<PlateRenderer> _renderer;
    std::unique_ptr<QOpenGLFramebufferObject> _work;  ///< smoothed edges; the full form grows in it
    std::unique_ptr<QOpenGLFramebufferObject> _image; ///< what is shown
    std::optional<std::uint64_t> _drawn;              ///< revision that was shown last
    double _trianglesPerMillisecond = 800;            ///< of the full form, as measured
    bool _isWarm = false;                             ///< the coarse form was drawn once
};

PlateDrawer::PlateDrawer(QObject* ip_parent)
    : QObject(ip_parent)
    , _worker([this](const std::stop_token& i_stop) { _Work(i_stop); })
{}

PlateDrawer::~PlateDrawer()
{
    _worker.request_stop();
    _worker.join();
}

void PlateDrawer::Request(Job i_job)
{
    const std::lock_guard lock(_mutex);
    _job = std::move(i_job);
    _wake.notify_all();
}

PlateDrawer::News PlateDrawer::TakeNews()
{
    const std::lock_guard lock(_mutex);
    _isTold = false;
    News news = _news;
    _news.picture = Picture();
    _news.sent.clear();
    return news;
}

void PlateDrawer::_Work(const std::stop_token& i_stop)
{
    try {
        Worker worker(*this, i_stop);
        _Tell([&](News& io_news) { io_news.renderer = worker.GetName(); });
        while (const auto job = _TakeJob(i_stop))
            worker.Run(*job);
    } catch (const std::exception& error) {
        _Tell([&](News& io_news) { io_news.failure = QString::fromUtf8(error.what()); });
    } catch (const Stopped&) {
        // Nobody waits for a picture any more.
    }
}

QOffscreenSurface& PlateDrawer::_AwaitSurface(const QSurfaceFormat& i_format, const std::stop_token& i_stop)
{
    // Some platforms make a window of it.
    QMetaObject::invokeMethod(
        this, [this, i_format] { _MakeSurface(i_format); }, Qt::QueuedConnection);
    std::unique_lock lock(_mutex);
    if (!_wake.wait(lock, i_stop, [this] { return _isSurfaceMade; }))
        throw Stopped();
    return *_surface;
}

void PlateDrawer::_MakeSurface(const QSurfaceFormat& i_format)
{
    _surface = std::make_unique<QOffscreenSurface>();
    _surface->setFormat(i_format);
    _surface->create();
    const std::lock_guard lock(_mutex);
    _isSurfaceMade = true;
    _wake.notify_all();
}

std::optional<PlateDrawer::Job> PlateDrawer::_TakeJob(const std::stop_token& i_stop)
{
    std::unique_lock lock(_mutex);
    if (!_wake.wait(lock, i_stop, [this] { return _job.has_value(); }))
        return std::nullopt;
    return std::exchange(_job, std::nullopt);
}

bool PlateDrawer::_IsOutOfDate(const std::stop_token& i_stop, std::uint64_t i_revision)
{
    const std::lock_guard lock(_mutex);
    return i_stop.stop_requested() || (_job && _job->revision != i_revision);
}

template <class Change>
void PlateDrawer::_Tell(const Change& i_change)
{
    bool wasTold = false;
    {
        const std::lock_guard lock(_mutex);
        i_change(_news);
        wasTold = std::exchange(_isTold, true);
    }
    if (!wasTold)
        QMetaObject::invokeMethod(this, &PlateDrawer::NewsReady, Qt::QueuedConnection);
}

} // namespace Workbench
