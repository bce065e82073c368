#pragma once

#include "workbench/plate/PlateColours.h"
#include "workbench/plate/PlateDrawer.h"
#include "workbench/plate/PlateInteraction.h"

#include <QTimer>
#include <QWidget>

#include <cstdint>

namespace Workbench {

class MeshStore;
class PlateModel;

/// The plate drawn with OpenGL, by a thread of its own: here its pictures are shown, with texts and marks over them,
/// and new ones asked for when something else is to be seen. Texts and marks stand where they belong in the picture
/// that is shown, not in the one that is to come.
///
/// Thread: UI thread.
/// Ownership: model and store must outlive it.
class GlPlateCanvas final : public QWidget
{
    Q_OBJECT

public:
    GlPlateCanvas(PlateModel& io_model, MeshStore& io_store, QWidget* ip_parent = nullptr);

    PlateInteraction& GetInteraction() { return *_interaction; }
    /// "4.5 (Core Profile) ..., RENDERER": what the driver says of itself; empty before it was asked.
    const QString& GetRendererName() const { return _rendererName; }
    /// All parts are shown in their full form.
    bool IsWhole() const { return _isShownWhole; }

Q_SIGNALS:
    /// The picture has become whole: bed and parts as they are now, in full.
    void WholeFrameShown();
    /// There is no OpenGL that can be used; nothing will be drawn.
    void Failed(const QString& i_reason);

protected:
    void paintEvent(QPaintEvent* ip_event) override;
    void resizeEvent(QResizeEvent* ip_event) override;
    void changeEvent(QEvent* ip_event) override;
    void showEvent(QShowEvent* ip_event) override;

private:
    /// Something else is to be seen.
    void _Invalidate();
    void _Ask();
    void _TakeNews();

    PlateModel& _model;
    MeshStore& _store;
    PlateInteraction* const _interaction;
    PlateColours _colours;
    PlateDrawer _drawer;
    PlateDrawer::Picture _picture; ///< that is shown
    QString _rendererName;

    QTimer _rest; ///< runs while something moves
    QTimer _ask;  ///< runs until what has changed is asked for, together
    std::uint64_t _revision = 0;
    bool _isShownWhole = false;
};

} // namespace Workbench
