#pragma once

#include "workbench/plate/Camera.h"

#include <QByteArray>
#include <QList>
#include <QWidget>

#include <optional>

class QAction;

namespace VexlorCore {
class DataSet;
}

namespace Workbench {

class MeshStore;
class PlateInteraction;
class PlateModel;
class ProblemFinder;
class Selection;

/// The plate of one scene: its machine's bed with the parts on it, to look at and to work with.
///
/// It is drawn with OpenGL, made after the first paint, or, where there is none, painted from above. It follows the
/// scene by itself.
///
/// Thread: UI thread. The scene may be closed while this lives: nothing is shown then.
/// Ownership: the selection must outlive it.
class PlateView final : public QWidget
{
    Q_OBJECT

public:
    PlateView(VexlorCore::DataSet& io_scene, Selection& io_selection, QWidget* ip_parent = nullptr);
    ~PlateView() override;

    /// What draws: the driver and its renderer, or "QPainter"; empty before the first paint.
    QString BackendName() const;
    /// Bed and all parts are drawn as they are now, in full.
    bool IsWholeFrameShown() const;

    PlateModel& GetModel() { return *_model; }
    ProblemFinder& GetProblemFinder() { return *_finder; }
    /// For menus and toolbars. Their shortcuts work while the plate has the focus. Owned by this.
    const QList<QAction*>& GetEditActions() const { return _editActions; }
    const QList<QAction*>& GetViewActions() const { return _viewActions; }

    /// Where it is looked from, to be kept; empty before the first paint.
    QByteArray SaveView() const;
    /// \param i_view of SaveView; anything else changes nothing.
    void RestoreView(const QByteArray& i_view);

    void SetStandardView(StandardView i_view);
    void ZoomToSelection();
    void ZoomToAll();

Q_SIGNALS:
    /// Each time that the picture has become whole after a change; first when bed and parts stand there.
    void WholeFrameShown();

protected:
    void paintEvent(QPaintEvent* ip_event) override;
    void changeEvent(QEvent* ip_event) override;

private:
    void _MakeCanvas();
    void _MakePlan();
    template <class Canvas>
    void _TakeCanvas(Canvas* ip_canvas);
    void _MakeActions();
    QAction* _AddAction(QList<QAction*>& io_list, const QList<QKeySequence>& i_keys, void (PlateView::*ip_run)());
    void _NameActions();
    void _UpdateActions();
    void _Duplicate();
    void _Delete();
    void _Drop();
    void _Arrange();
    void _TurnLeft();
    void _TurnRight();
    void _SelectAll();
    void _ZoomIn();
    void _ZoomOut();
    void _Describe();

    Selection& _selection;
    PlateModel* const _model;
    MeshStore* const _store;
    ProblemFinder* const _finder;
    PlateInteraction* _interaction = nullptr; ///< null before the first paint; of the canvas
    QWidget* _canvas = nullptr;
    bool _isCanvasAsked = false;
    std::optional<Camera::Place> _keptPlace; ///< for the canvas that comes
    QList<QAction*> _editActions;
    QList<QAction*> _viewActions;
};

} // namespace Workbench
