#pragma once

#include "workbench/plate/PlateColours.h"
#include "workbench/plate/PlateInteraction.h"

#include <QElapsedTimer>
#include <QOpenGLFunctions_3_3_Core>
#include <QOpenGLWidget>
#include <QTimer>

#include <chrono>
#include <memory>

class QOpenGLFramebufferObject;

namespace Workbench {

class GlMeshes;
class MeshStore;
class PlateModel;
class PlateRenderer;

/// The plate drawn with OpenGL 3.3, core profile.
///
/// While the eye or a part moves, a coarse form of the parts is drawn; once all is at rest the full form, in slices
/// that let the event loop turn between them, and shown when it is whole. Where the graphics card is fast enough the
/// full form is drawn always.
///
/// Thread: UI thread.
/// Ownership: model and store must outlive it.
class GlPlateCanvas final : public QOpenGLWidget
{
    Q_OBJECT

public:
    /// What one slice of drawing or sending may take.
    static constexpr std::chrono::milliseconds LongestSlice{50};

    GlPlateCanvas(PlateModel& io_model, MeshStore& io_store, QWidget* ip_parent = nullptr);
    ~GlPlateCanvas() override;

    /// Whether this process can draw so at all. Costs some milliseconds.
    static bool IsAvailable();

    PlateInteraction& GetInteraction() { return *_interaction; }
    /// "OpenGL 4.5 (Core Profile) ..., RENDERER": what the driver says of itself; empty before the first picture.
    const QString& GetRendererName() const { return _rendererName; }
    /// All parts are shown in their full form.
    bool IsWhole() const { return _isShownWhole; }
    /// Of all slices so far.
    std::chrono::microseconds GetLongestSlice() const { return _longestSlice; }

Q_SIGNALS:
    /// The picture has become whole: bed and parts as they are now, in full.
    void WholeFrameShown();
    /// The driver takes back what it promised; nothing will be drawn.
    void Failed(const QString& i_reason);

protected:
    void initializeGL() override;
    void resizeGL(int i_width, int i_height) override;
    void paintGL() override;
    void changeEvent(QEvent* ip_event) override;

private:
    void _Release();
    /// Something else is to be seen.
    void _Invalidate();
    void _Wake();
    void _DrawSlice();
    bool _SendSlice();
    void _DrawFullSlice();
    void _DrawCoarse();
    void _MakeBuffers();
    /// To draw the full form.
    bool _TakesLessThan(double i_milliseconds) const;
    void _CountSlice(const QElapsedTimer& i_timer);

    PlateModel& _model;
    MeshStore& _store;
    PlateInteraction* const _interaction;
    QWidget* const _overlay;
    PlateColours _colours;
    QOpenGLFunctions_3_3_Core _gl;
    std::unique_ptr<GlMeshes> _meshes;
    std::unique_ptr<PlateRenderer> _renderer;
    std::unique_ptr<QOpenGLFramebufferObject> _work;  ///< smoothed edges; the full form grows in it
    std::unique_ptr<QOpenGLFramebufferObject> _image; ///< what is shown
    QString _rendererName;

    QTimer _rest;  ///< runs while something moves
    QTimer _slice; ///< runs while there is something to send or to draw
    bool _isSending = true;
    bool _isImageValid = false; ///< coarse or full
    bool _isImageFull = false;
    bool _isDrawingFull = false; ///< _work holds a beginning of what is to be seen
    bool _isShownWhole = false;
    double _trianglesPerMillisecond = 800; ///< of the full form, as measured
    std::chrono::microseconds _longestSlice{0};
};

} // namespace Workbench
