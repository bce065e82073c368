#include "workbench/plate/GlPlateCanvas.h"

#include "workbench/plate/MeshStore.h"
#include "workbench/plate/PlateModel.h"
#include "workbench/plate/PlateOverlay.h"

#include <QEvent>
#include <QPainter>

#include <chrono>
#include <memory>
#include <utility>

namespace Workbench {

namespace {

using namespace std::chrono_literals;

constexpr auto Rest = 140ms; ///< without a movement

} // namespace

GlPlateCanvas::GlPlateCanvas(PlateModel& io_model, MeshStore& io_store, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _model(io_model)
    , _store(io_store)
    , _interaction(new PlateInteraction(io_model, false, *this))
    , _colours(GetPlateColours(palette()))
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    _rest.setSingleShot(true);
    _rest.setInterval(Rest);
    connect(&_rest, &QTimer::timeout, this, &GlPlateCanvas::_Ask);
    _ask.setSingleShot(true);
    _ask.setInterval(0);
    connect(&_ask, &QTimer::timeout, this, &GlPlateCanvas::_Ask);
    const auto move = [this] {
        _rest.start();
        _Invalidate();
    };
    connect(_interaction, &PlateInteraction::CameraChanged, this, move);
    connect(_interaction, &PlateInteraction::OverlayChanged, this, qOverload<>(&QWidget::update));
    connect(&_model, &PlateModel::Marked, this, [this, move] {
        if (_model.GetChangeInHand())
            move();
        else
            _Invalidate();
    });
    connect(&_model, &PlateModel::Changed, this, &GlPlateCanvas::_Invalidate);
    connect(&_store, &MeshStore::Ready, this, &GlPlateCanvas::_Invalidate);
    connect(&_drawer, &PlateDrawer::NewsReady, this, &GlPlateCanvas::_TakeNews);
}

void GlPlateCanvas::resizeEvent(QResizeEvent* ip_event)
{
    QWidget::resizeEvent(ip_event);
    _Invalidate();
}

void GlPlateCanvas::showEvent(QShowEvent* ip_event)
{
    QWidget::showEvent(ip_event);
    _Invalidate();
}

void GlPlateCanvas::changeEvent(QEvent* ip_event)
{
    if (ip_event->type() == QEvent::PaletteChange) {
        _colours = GetPlateColours(palette());
        _Invalidate();
    }
    QWidget::changeEvent(ip_event);
}

void GlPlateCanvas::_Invalidate()
{
    ++_revision;
    _isShownWhole = false;
    _ask.start();
}

void GlPlateCanvas::_Ask()
{
    if (!isVisible() || size().isEmpty())
        return;
    PlateDrawer::Job job;
    job.scene = std::make_shared<PlateScene>(_model.TakeScene());
    job.meshes = _store.GetSources(_model.GetMeshes());
    job.camera = _interaction->GetCamera();
    job.colours = _colours;
    job.size = size() * devicePixelRatioF();
    job.isMoving = _rest.isActive();
    job.revision = _revision;
    _drawer.Request(std::move(job));
}

void GlPlateCanvas::_TakeNews()
{
    PlateDrawer::News news = _drawer.TakeNews();
    if (!news.failure.isEmpty()) {
        Q_EMIT Failed(news.failure);
        return;
    }
    _rendererName = news.renderer;
    for (const MeshSource& source : news.sent)
        _store.ReleaseForms(source);
    if (news.picture.image.isNull())
        return;
    _picture = std::move(news.picture);
    update();
}

void GlPlateCanvas::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (_picture.image.isNull()) {
        painter.fillRect(rect(), _colours.backgroundBottom);
        return;
    }
    // Of another size until the new picture is there.
    painter.drawImage(rect(), _picture.image);
    const QSize& viewport = _picture.camera.GetViewport();
    painter.scale(width() / static_cast<double>(viewport.width()), height() / static_cast<double>(viewport.height()));
    PaintPlateOverlay(painter, *_interaction, _picture.camera, _colours);
    if (_picture.isFull && _picture.revision == _revision && !_store.IsBusy() && !_isShownWhole) {
        _isShownWhole = true;
        // After the picture is on the screen.
        QTimer::singleShot(0, this, &GlPlateCanvas::WholeFrameShown);
    }
}

} // namespace Workbench
