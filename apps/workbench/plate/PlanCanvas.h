#pragma once

#include "workbench/plate/PlateColours.h"
#include "workbench/plate/PlateInteraction.h"

#include <QImage>
#include <QWidget>

namespace Workbench {

class MeshStore;
class PlateModel;
struct PlatePart;

/// The plate from above, painted without OpenGL: for computers and connections that have none.
///
/// Thread: UI thread.
/// Ownership: model and store must outlive it.
class PlanCanvas final : public QWidget
{
    Q_OBJECT

public:
    PlanCanvas(PlateModel& io_model, MeshStore& io_store, QWidget* ip_parent = nullptr);

    PlateInteraction& GetInteraction() { return *_interaction; }
    /// All parts are shown.
    bool IsWhole() const { return _isShownWhole; }

Q_SIGNALS:
    /// The picture has become whole: bed and parts as they are now.
    void WholeFrameShown();

protected:
    void paintEvent(QPaintEvent* ip_event) override;
    void changeEvent(QEvent* ip_event) override;

private:
    void _Invalidate();
    void _PaintPicture();
    void _PaintBed(QPainter& io_painter) const;
    void _PaintPart(QPainter& io_painter, const PlatePart& i_part) const;

    PlateModel& _model;
    MeshStore& _store;
    PlateInteraction* const _interaction;
    PlateColours _colours;
    QImage _picture; ///< all but the overlay; null when it is out of date
    bool _isShownWhole = false;
};

} // namespace Workbench
