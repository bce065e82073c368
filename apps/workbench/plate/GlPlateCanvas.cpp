#include "workbench/plate/GlPlateCanvas.h"

#include "workbench/plate/GlMeshes.h"
#include "workbench/plate/MeshStore.h"
#include "workbench/plate/PlateModel.h"
#include "workbench/plate/PlateOverlay.h"
#include "workbench/plate/PlateRenderer.h"

#include <QEvent>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QPainter>

#include <algorithm>
#include <exception>

namespace Workbench {

namespace {

using namespace std::chrono_literals;

constexpr auto Rest = 140ms;                ///< without a movement
constexpr double SliceMilliseconds = 24;    ///< aimed at, well below the longest
constexpr double ChunkMilliseconds = 8;     ///< between two looks at the clock
constexpr double FastMilliseconds = 12;     ///< so fast the full form is drawn while something moves
constexpr double ShortMilliseconds = 80;    ///< so short that nobody misses a coarse form at rest
constexpr std::size_t PieceBytes = 2 << 20; ///< between two looks at the clock
constexpr std::size_t SmallestChunk = 2000; ///< triangles
constexpr int Samples = 4;

QSurfaceFormat MakeFormat()
{
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    format.setStencilBufferSize(8);
    return format;
}

double GetMilliseconds(const QElapsedTimer& i_timer)
{
    return static_cast<double>(i_timer.nsecsElapsed()) / 1e6;
}

/// Texts and marks, painted as any widget is: what OpenGL drivers make of a painter differs.
class Overlay final : public QWidget
{
public:
    Overlay(const PlateInteraction& i_interaction, QWidget* ip_parent)
        : QWidget(ip_parent)
        , _interaction(i_interaction)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        PaintPlateOverlay(painter, _interaction, GetPlateColours(palette()));
    }

private:
    const PlateInteraction& _interaction;
};

} // namespace

GlPlateCanvas::GlPlateCanvas(PlateModel& io_model, MeshStore& io_store, QWidget* ip_parent)
    : QOpenGLWidget(ip_parent)
    , _model(io_model)
    , _store(io_store)
    , _interaction(new PlateInteraction(io_model, false, *this))
    , _overlay(new Overlay(*_interaction, this))
    , _colours(GetPlateColours(palette()))
{
    setFormat(MakeFormat());
    _rest.setSingleShot(true);
    _rest.setInterval(Rest);
    connect(&_rest, &QTimer::timeout, this, &GlPlateCanvas::_Wake);
    connect(&_slice, &QTimer::timeout, this, &GlPlateCanvas::_DrawSlice);
    const auto move = [this] {
        _rest.start();
        _Invalidate();
    };
    connect(_interaction, &PlateInteraction::CameraChanged, this, move);
    connect(_interaction, &PlateInteraction::OverlayChanged, _overlay, qOverload<>(&QWidget::update));
    connect(&_model, &PlateModel::Marked, this, [this, move] {
        if (_model.GetChangeInHand())
            move();
        else
            _Invalidate();
    });
    connect(&_model, &PlateModel::Changed, this, [this] {
        _isSending = true;
        _Invalidate();
    });
    connect(&_store, &MeshStore::Ready, this, [this] {
        _isSending = true;
        _Wake();
    });
}

GlPlateCanvas::~GlPlateCanvas()
{
    _Release();
}

bool GlPlateCanvas::IsAvailable()
{
    QOpenGLContext context;
    context.setFormat(MakeFormat());
    if (!context.create())
        return false;
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!surface.isValid() || !context.makeCurrent(&surface))
        return false;
    const bool isNewEnough = context.format().version() >= qMakePair(3, 3);
    context.doneCurrent();
    return isNewEnough;
}

void GlPlateCanvas::initializeGL()
{
    // A widget that gets another window loses its context, and all that was made in it.
    connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &GlPlateCanvas::_Release, Qt::UniqueConnection);
    try {
        if (!_gl.initializeOpenGLFunctions())
            throw std::runtime_error("OpenGL 3.3 cannot be used.");
        _meshes = std::make_unique<GlMeshes>(_gl, _store);
        _renderer = std::make_unique<PlateRenderer>(_gl, *_meshes);
        _rendererName = QString::fromLatin1(reinterpret_cast<const char*>(_gl.glGetString(GL_VERSION))) +
                        QStringLiteral(", ") +
                        QString::fromLatin1(reinterpret_cast<const char*>(_gl.glGetString(GL_RENDERER)));
    } catch (const std::exception& error) {
        _renderer.reset();
        Q_EMIT Failed(QString::fromUtf8(error.what()));
        return;
    }
    _store.RestoreForms();
    _isSending = true;
    _Wake();
}

void GlPlateCanvas::_Release()
{
    if (!_meshes && !_renderer && !_image && !_work)
        return;
    makeCurrent();
    _work.reset();
    _image.reset();
    _renderer.reset();
    _meshes.reset();
    doneCurrent();
    _isImageValid = _isImageFull = _isDrawingFull = _isShownWhole = false;
}

void GlPlateCanvas::resizeGL(int, int)
{
    _overlay->setGeometry(rect());
    _work.reset();
    _image.reset();
    _isImageValid = _isImageFull = _isDrawingFull = _isShownWhole = false;
}

void GlPlateCanvas::changeEvent(QEvent* ip_event)
{
    if (ip_event->type() == QEvent::PaletteChange) {
        _colours = GetPlateColours(palette());
        _Invalidate();
    }
    QOpenGLWidget::changeEvent(ip_event);
}

void GlPlateCanvas::_Invalidate()
{
    _isImageValid = _isImageFull = _isDrawingFull = _isShownWhole = false;
    _Wake();
    update();
    _overlay->update();
}

void GlPlateCanvas::_Wake()
{
    if (_renderer && !_slice.isActive() && !(_rest.isActive() && !_isSending))
        _slice.start(0);
}

bool GlPlateCanvas::_TakesLessThan(double i_milliseconds) const
{
    std::size_t triangles = 0;
    for (const PlatePart& part : _model.GetParts()) {
        for (const PlateBody& body : part.bodies)
            triangles += body.mesh->triangles.size();
    }
    return static_cast<double>(triangles) < i_milliseconds * _trianglesPerMillisecond;
}

void GlPlateCanvas::_MakeBuffers()
{
    if (_image)
        return;
    const QSize size = this->size() * devicePixelRatioF();
    QOpenGLFramebufferObjectFormat format;
    format.setAttachment(QOpenGLFramebufferObject::CombinedDepthStencil);
    _image = std::make_unique<QOpenGLFramebufferObject>(size, format);
    format.setSamples(Samples);
    _work = std::make_unique<QOpenGLFramebufferObject>(size, format);
    // Until there is a picture.
    _image->bind();
    const QColor& colour = _colours.backgroundBottom;
    _gl.glClearColor(static_cast<float>(colour.redF()), static_cast<float>(colour.greenF()),
                     static_cast<float>(colour.blueF()), 1);
    _gl.glClear(GL_COLOR_BUFFER_BIT);
    _image->release();
}

void GlPlateCanvas::paintGL()
{
    if (!_renderer)
        return;
    _MakeBuffers();
    // At rest the picture before stays until the new one is whole, where that takes but a moment.
    if (!_isImageValid && (_rest.isActive() || !_TakesLessThan(ShortMilliseconds)))
        _DrawCoarse();
    const GLuint screen = defaultFramebufferObject();
    const QSize size = _image->size();
    _gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, _image->handle());
    _gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, screen);
    _gl.glBlitFramebuffer(0, 0, size.width(), size.height(), 0, 0, size.width(), size.height(), GL_COLOR_BUFFER_BIT,
                          GL_NEAREST);
    _gl.glBindFramebuffer(GL_FRAMEBUFFER, screen);
    if (_isImageFull && !_isSending && !_store.IsBusy() && !_isShownWhole) {
        _isShownWhole = true;
        // After the picture is on the screen.
        QTimer::singleShot(0, this, &GlPlateCanvas::WholeFrameShown);
    }
}

void GlPlateCanvas::_DrawCoarse()
{
    const bool isFast = _TakesLessThan(FastMilliseconds);
    _image->bind();
    _gl.glViewport(0, 0, _image->width(), _image->height());
    _renderer->Begin(_model, _interaction->GetCamera(), _colours,
                     isFast ? PlateRenderer::Form::Full : PlateRenderer::Form::Coarse);
    while (!_renderer->Draw(std::numeric_limits<std::size_t>::max() / 3)) {
    }
    _image->release();
    _isImageValid = true;
    // The renderer has lost its place in the full form.
    _isDrawingFull = false;
}

void GlPlateCanvas::_DrawSlice()
{
    if (!_renderer || !isVisible()) {
        _slice.stop();
        return;
    }
    QElapsedTimer timer;
    timer.start();
    makeCurrent();
    if (_isSending)
        _isSending = !_SendSlice();
    else if (_rest.isActive() || _isImageFull)
        _slice.stop();
    else
        _DrawFullSlice();
    doneCurrent();
    _CountSlice(timer);
}

bool GlPlateCanvas::_SendSlice()
{
    QElapsedTimer timer;
    timer.start();
    const auto meshes = _model.GetMeshes();
    bool isWhole = false;
    while (!isWhole && GetMilliseconds(timer) < SliceMilliseconds)
        isWhole = _meshes->Update(meshes, PieceBytes);
    _isImageValid = _isImageFull = _isDrawingFull = false;
    // Each picture on the way costs; parts appear one after another all the same.
    if (isWhole)
        update();
    return isWhole;
}

void GlPlateCanvas::_DrawFullSlice()
{
    QElapsedTimer timer;
    timer.start();
    _MakeBuffers();
    _work->bind();
    _gl.glViewport(0, 0, _work->width(), _work->height());
    if (!_isDrawingFull) {
        _renderer->Begin(_model, _interaction->GetCamera(), _colours, PlateRenderer::Form::Full);
        _isDrawingFull = true;
        // The driver compiles what it meets for the first time, and takes its time.
        _gl.glFinish();
    }
    bool isWhole = false;
    while (!isWhole && GetMilliseconds(timer) < SliceMilliseconds) {
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
    _work->release();
    if (!isWhole)
        return;
    QOpenGLFramebufferObject::blitFramebuffer(_image.get(), _work.get());
    _isImageValid = _isImageFull = true;
    _isDrawingFull = false;
    _slice.stop();
    update();
}

void GlPlateCanvas::_CountSlice(const QElapsedTimer& i_timer)
{
    _longestSlice = std::max(_longestSlice, std::chrono::microseconds(i_timer.nsecsElapsed() / 1000));
}

} // namespace Workbench
