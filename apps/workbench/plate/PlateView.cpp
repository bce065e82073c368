#include "workbench/plate/PlateView.h"

#include "workbench/plate/GlPlateCanvas.h"
#include "workbench/plate/MeshStore.h"
#include "workbench/plate/PartEdits.h"
#include "workbench/plate/PlanCanvas.h"
#include "workbench/plate/PlateModel.h"
#include "workbench/plate/ProblemFinder.h"

#include <QAction>
#include <QDataStream>
#include <QEvent>
#include <QMenu>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace Workbench {

namespace {

QKeySequence WithCtrl(Qt::Key i_key)
{
    return {static_cast<int>(Qt::CTRL) | static_cast<int>(i_key)};
}

// Of the actions that also do something without a selection.
constexpr int ArrangeAction = 3;
constexpr int SelectAllAction = 6;

} // namespace

PlateView::PlateView(VexlorCore::DataSet& io_scene, Selection& io_selection, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _selection(io_selection)
    , _model(new PlateModel(io_scene, io_selection, this))
    , _store(new MeshStore(this))
    , _finder(new ProblemFinder(*_model, this))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    setMinimumSize(200, 160);
    setFocusPolicy(Qt::StrongFocus);
    _store->Keep(_model->GetMeshes());
    connect(_model, &PlateModel::Changed, this, [this] {
        _store->Keep(_model->GetMeshes());
        _Describe();
    });
    connect(_model, &PlateModel::Marked, this, &PlateView::_Describe);
    _MakeActions();
    _Describe();
}

PlateView::~PlateView()
{
    // The canvas uses what this owns, and would go after it.
    delete _canvas;
}

QString PlateView::BackendName() const
{
    if (const auto* canvas = qobject_cast<GlPlateCanvas*>(_canvas))
        return canvas->GetRendererName().isEmpty() ? QString() : QStringLiteral("OpenGL ") + canvas->GetRendererName();
    return _canvas ? QStringLiteral("QPainter") : QString();
}

bool PlateView::IsWholeFrameShown() const
{
    if (const auto* canvas = qobject_cast<GlPlateCanvas*>(_canvas))
        return canvas->IsWhole();
    const auto* const canvas = qobject_cast<PlanCanvas*>(_canvas);
    return canvas && canvas->IsWhole();
}

void PlateView::paintEvent(QPaintEvent*)
{
    if (_canvas)
        return;
    QPainter(this).fillRect(rect(), GetPlateColours(palette()).backgroundBottom);
    if (!_isCanvasAsked) {
        _isCanvasAsked = true;
        QTimer::singleShot(0, this, &PlateView::_MakeCanvas);
    }
}

void PlateView::_MakeCanvas()
{
    auto* const canvas = new GlPlateCanvas(*_model, *_store, this);
    connect(
        canvas, &GlPlateCanvas::Failed, this,
        [this](const QString& i_reason) {
            qWarning("The plate is painted from above: %s", qUtf8Printable(i_reason));
            _MakePlan();
        },
        Qt::QueuedConnection);
    _TakeCanvas(canvas);
}

void PlateView::_MakePlan()
{
    _TakeCanvas(new PlanCanvas(*_model, *_store, this));
}

template <class Canvas>
void PlateView::_TakeCanvas(Canvas* ip_canvas)
{
    const bool hadFocus = hasFocus() || (_canvas && _canvas->hasFocus());
    delete _canvas;
    _canvas = ip_canvas;
    _interaction = &ip_canvas->GetInteraction();
    layout()->addWidget(ip_canvas);
    setFocusProxy(ip_canvas);
    if (hadFocus)
        ip_canvas->setFocus();
    connect(ip_canvas, &Canvas::WholeFrameShown, this, &PlateView::WholeFrameShown);
    connect(_interaction, &PlateInteraction::MenuAsked, this, [this](const QPoint& i_at) {
        QMenu menu;
        menu.addActions(_editActions);
        menu.addSeparator();
        menu.addActions(_viewActions);
        menu.exec(i_at);
    });
    if (_keptPlace)
        _interaction->SetCameraPlace(*_keptPlace);
    ip_canvas->setObjectName(QStringLiteral("plate"));
    ip_canvas->show();
    _Describe();
}

QByteArray PlateView::SaveView() const
{
    if (!_interaction)
        return {};
    QByteArray view;
    QDataStream stream(&view, QIODevice::WriteOnly);
    for (const double number : _interaction->GetCamera().GetPlace())
        stream << number;
    return view;
}

void PlateView::RestoreView(const QByteArray& i_view)
{
    Camera::Place place{};
    QDataStream stream(i_view);
    for (double& number : place)
        stream >> number;
    if (stream.status() != QDataStream::Ok)
        return;
    _keptPlace = place;
    if (_interaction)
        _interaction->SetCameraPlace(place);
}

void PlateView::SetStandardView(StandardView i_view)
{
    if (_interaction)
        _interaction->SetStandardView(i_view);
}

void PlateView::ZoomToSelection()
{
    if (_interaction)
        _interaction->ZoomToSelection();
}

void PlateView::ZoomToAll()
{
    if (_interaction)
        _interaction->ZoomToAll();
}

QAction* PlateView::_AddAction(QList<QAction*>& io_list, const QList<QKeySequence>& i_keys, void (PlateView::*ip_run)())
{
    auto* const action = new QAction(this);
    action->setShortcuts(i_keys);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    if (ip_run)
        connect(action, &QAction::triggered, this, ip_run);
    addAction(action);
    io_list << action;
    return action;
}

void PlateView::_MakeActions()
{
    // The order of the names below.
    _AddAction(_editActions, {WithCtrl(Qt::Key_D)}, &PlateView::_Duplicate);
    _AddAction(_editActions, {QKeySequence(Qt::Key_Delete)}, &PlateView::_Delete);
    _AddAction(_editActions, {QKeySequence(Qt::Key_End)}, &PlateView::_Drop);
    _AddAction(_editActions, {QKeySequence(Qt::Key_P)}, &PlateView::_Arrange);
    _AddAction(_editActions, {WithCtrl(Qt::Key_BracketLeft), QKeySequence(Qt::Key_L)}, &PlateView::_TurnLeft);
    _AddAction(_editActions, {WithCtrl(Qt::Key_BracketRight), QKeySequence(Qt::Key_R)}, &PlateView::_TurnRight);
    _AddAction(_editActions, {QKeySequence(QKeySequence::SelectAll)}, &PlateView::_SelectAll);
    _AddAction(_viewActions, {QKeySequence(Qt::Key_F)}, &PlateView::ZoomToSelection);
    _AddAction(_viewActions, {QKeySequence(Qt::Key_A)}, &PlateView::ZoomToAll);
    _AddAction(_viewActions, {QKeySequence(Qt::Key_Plus), QKeySequence(QKeySequence::ZoomIn)}, &PlateView::_ZoomIn);
    _AddAction(_viewActions, {QKeySequence(Qt::Key_Minus), QKeySequence(QKeySequence::ZoomOut)}, &PlateView::_ZoomOut);
    for (int view = 0; view <= static_cast<int>(StandardView::Bottom); ++view) {
        QAction* const action = _AddAction(_viewActions, {QKeySequence(Qt::Key_0 + view)}, nullptr);
        connect(action, &QAction::triggered, this, [this, view] { SetStandardView(static_cast<StandardView>(view)); });
    }
    _NameActions();
    _UpdateActions();
    connect(&_selection, &Selection::Changed, this, &PlateView::_UpdateActions);
    connect(_model, &PlateModel::Changed, this, &PlateView::_UpdateActions);
}

void PlateView::_NameActions()
{
    const QStringList edits{tr("Duplicate"),        tr("Delete"),           tr("Drop to plate"),
                            tr("Arrange on plate"), tr("Turn left by 45°"), tr("Turn right by 45°"),
                            tr("Select all")};
    const QStringList views{tr("Zoom to selection"),  tr("Zoom to plate"),       tr("Zoom in"),
                            tr("Zoom out"),           tr("View in perspective"), tr("View from the front"),
                            tr("View from the back"), tr("View from the left"),  tr("View from the right"),
                            tr("View from above"),    tr("View from below")};
    for (int index = 0; index < edits.size(); ++index)
        _editActions[index]->setText(edits[index]);
    for (int index = 0; index < views.size(); ++index)
        _viewActions[index]->setText(views[index]);
}

void PlateView::_UpdateActions()
{
    for (int index = 0; index < _editActions.size(); ++index) {
        const bool isForAll = index == ArrangeAction || index == SelectAllAction;
        _editActions[index]->setEnabled(isForAll ? !_model->GetParts().empty() : !_selection.IsEmpty());
    }
}

void PlateView::changeEvent(QEvent* ip_event)
{
    if (ip_event->type() == QEvent::LanguageChange) {
        _NameActions();
        _Describe();
        if (_canvas) {
            for (QWidget* const child : _canvas->findChildren<QWidget*>())
                child->update();
            _canvas->update();
        }
    }
    QWidget::changeEvent(ip_event);
}

void PlateView::_Duplicate()
{
    const PlateBed& bed = _model->GetBed();
    if (const auto scene = _model->GetScene())
        PartEdits::Duplicate(*scene, _selection.GetIds(), bed.isKnown ? std::optional(bed.GetBox()) : std::nullopt);
}

void PlateView::_Delete()
{
    if (const auto scene = _model->GetScene())
        PartEdits::Delete(*scene, _selection.GetIds());
}

void PlateView::_Drop()
{
    if (const auto scene = _model->GetScene())
        PartEdits::DropToPlate(*scene, _selection.GetIds());
}

/// Without a selection all of them: one thing to press after the machine was changed.
void PlateView::_Arrange()
{
    const auto scene = _model->GetScene();
    if (!scene)
        return;
    PartEdits::PartIds parts = _selection.GetIds();
    if (parts.empty()) {
        for (const TavAM::Part& part : scene->GetParts())
            parts.push_back(part.GetRevisionId());
    }
    PartEdits::Arrange(*scene, parts, _model->GetBed());
}

void PlateView::_TurnLeft()
{
    if (const auto scene = _model->GetScene())
        PartEdits::RotateAboutZ(*scene, _selection.GetIds(), 45);
}

void PlateView::_TurnRight()
{
    if (const auto scene = _model->GetScene())
        PartEdits::RotateAboutZ(*scene, _selection.GetIds(), -45);
}

void PlateView::_SelectAll()
{
    _selection.SelectAll();
}

void PlateView::_ZoomIn()
{
    if (_interaction)
        _interaction->ZoomBy(0.8);
}

void PlateView::_ZoomOut()
{
    if (_interaction)
        _interaction->ZoomBy(1.25);
}

/// What a screen reader says of the picture.
void PlateView::_Describe()
{
    QWidget* const widget = _canvas ? _canvas : this;
    widget->setAccessibleName(tr("Plate"));
    const auto& parts = _model->GetParts();
    const auto selected =
        std::count_if(parts.begin(), parts.end(), [](const PlatePart& i_part) { return i_part.isSelected; });
    widget->setAccessibleDescription(tr("%n part(s) on the plate", "", static_cast<int>(parts.size())) +
                                     QStringLiteral(", ") + tr("%n selected", "", static_cast<int>(selected)) +
                                     QStringLiteral(", ") +
                                     tr("%n problem(s)", "", static_cast<int>(_model->GetProblems().size())));
}

} // namespace Workbench
