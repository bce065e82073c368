#include "workbench/plate/NumbersPanel.h"

#include "workbench/base/LengthText.h"
#include "workbench/plate/PartEdits.h"
#include "workbench/plate/PlateModel.h"

#include <QDoubleSpinBox>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QSignalBlocker>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Workbench {

namespace {

constexpr double LargestLength = 100'000; ///< mm

/// Of a part's own placement. Units: degrees counter-clockwise.
double GetTurn(const TavAM::Transform& i_placement)
{
    return std::atan2(i_placement.rows[4], i_placement.rows[0]) * 180 / std::numbers::pi;
}

double GetScale(const TavAM::Transform& i_placement)
{
    return std::cbrt(std::abs(i_placement.GetDeterminant()));
}

} // namespace

NumbersPanel::NumbersPanel(PlateModel& io_model, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _model(io_model)
    , _title(new QLabel(this))
{
    auto* const layout = new QFormLayout(this);
    layout->addRow(_title);
    _title->setWordWrap(true);
    for (int field = 0; field < FieldCount; ++field) {
        auto* const box = new QDoubleSpinBox(this);
        auto* const label = new QLabel(this);
        label->setBuddy(box);
        box->setKeyboardTracking(false);
        box->setAccelerated(true);
        layout->addRow(label, box);
        _labels[static_cast<std::size_t>(field)] = label;
        _fields[static_cast<std::size_t>(field)] = box;
        connect(box, qOverload<double>(&QDoubleSpinBox::valueChanged), this,
                [this, field] { _Take(static_cast<Field>(field)); });
    }
    connect(&_model, &PlateModel::Changed, this, &NumbersPanel::_Fill);
    connect(&_model, &PlateModel::Marked, this, &NumbersPanel::_Fill);
    _Translate();
}

void NumbersPanel::changeEvent(QEvent* ip_event)
{
    if (ip_event->type() == QEvent::LanguageChange)
        _Translate();
    QWidget::changeEvent(ip_event);
}

void NumbersPanel::_Translate()
{
    const QString unit = QLatin1Char(' ') + LengthText::GetUnitName();
    const QStringList names{tr("Position X"),
                            tr("Position Y"),
                            tr("Height above the plate"),
                            tr("Rotation about Z"),
                            tr("Scale"),
                            tr("Width"),
                            tr("Depth"),
                            tr("Height")};
    const bool isInch = LengthText::GetUnit() == LengthUnit::Inch;
    for (int field = 0; field < FieldCount; ++field) {
        QDoubleSpinBox& box = *_fields[static_cast<std::size_t>(field)];
        const QSignalBlocker blocker(box);
        box.setLocale(QLocale());
        _labels[static_cast<std::size_t>(field)]->setText(names[field]);
        box.setAccessibleName(names[field]);
        if (field == Turn) {
            box.setSuffix(tr("°"));
            box.setRange(-360, 360);
            box.setDecimals(2);
            box.setSingleStep(5);
        } else if (field == ScaleField) {
            box.setSuffix(tr(" %"));
            box.setRange(PartEdits::SmallestScale * 100, PartEdits::LargestScale * 100);
            box.setDecimals(2);
            box.setSingleStep(5);
        } else {
            box.setSuffix(unit);
            const double most = LengthText::FromMillimetres(LargestLength);
            box.setRange(field >= SizeX ? LengthText::FromMillimetres(0.001) : -most, most);
            box.setDecimals(isInch ? 4 : 2);
            box.setSingleStep(isInch ? 0.05 : 1);
        }
    }
    _Fill();
}

void NumbersPanel::_Fill()
{
    // What is dragged is shown beside the pointer; the numbers follow when it is made.
    const TavAM::BoundingBox box = _model.GetSelectedBox();
    const auto ids = _model.GetSelection().GetIds();
    const auto scene = _model.GetScene();
    const bool hasBox = scene && !box.IsEmpty();
    _title->setText(ids.empty()                    ? tr("Nothing is selected.")
                    : ids.size() > 1               ? tr("%n parts", "", static_cast<int>(ids.size()))
                    : _model.FindPart(ids.front()) ? _model.FindPart(ids.front())->name
                                                   : QString());
    std::array<double, FieldCount> values{};
    values[ScaleField] = 100;
    if (hasBox) {
        values[X] = LengthText::FromMillimetres((box.min.x + box.max.x) / 2);
        values[Y] = LengthText::FromMillimetres((box.min.y + box.max.y) / 2);
        values[Z] = LengthText::FromMillimetres(box.min.z);
        values[SizeX] = LengthText::FromMillimetres(box.max.x - box.min.x);
        values[SizeY] = LengthText::FromMillimetres(box.max.y - box.min.y);
        values[SizeZ] = LengthText::FromMillimetres(box.max.z - box.min.z);
        const TavAM::Part* const part = ids.size() == 1 ? scene->GetPlatform().FindPart(ids.front()) : nullptr;
        if (part) {
            values[Turn] = GetTurn(part->GetPlacement());
            values[ScaleField] = 100 * GetScale(part->GetPlacement());
        }
    }
    for (std::size_t field = 0; field < FieldCount; ++field) {
        const QSignalBlocker blocker(_fields[field]);
        _fields[field]->setEnabled(hasBox);
        _fields[field]->setValue(values[field]);
        _shown[field] = _fields[field]->value();
    }
}

void NumbersPanel::_Take(Field i_field)
{
    const auto scene = _model.GetScene();
    const auto ids = _model.GetSelection().GetIds();
    const double value = _fields[i_field]->value();
    const double former = _shown[i_field];
    if (!scene || value == former)
        return;
    const double by = LengthText::ToMillimetres(value - former);
    switch (i_field) {
    case X:
        PartEdits::Move(*scene, ids, {by, 0, 0});
        break;
    case Y:
        PartEdits::Move(*scene, ids, {0, by, 0});
        break;
    case Z:
        PartEdits::Move(*scene, ids, {0, 0, by});
        break;
    case Turn:
        PartEdits::RotateAboutZ(*scene, ids, value - former);
        break;
    default:
        // All three sizes follow the one that is entered.
        PartEdits::Scale(*scene, ids, value / former);
        break;
    }
    // Also when nothing came of it.
    _Fill();
}

} // namespace Workbench
