#pragma once

#include <QWidget>

#include <array>

class QDoubleSpinBox;
class QLabel;

namespace Workbench {

class PlateModel;

/// Where the selected parts stand, how they are turned, and how large they are, as numbers to be changed. Each change
/// is one step that can be undone.
///
/// The place is the middle of their common box and its underside. The turn about z and the scale are those of a single
/// part; of several they count from now: each entry turns or scales them once more.
///
/// Thread: UI thread.
/// Ownership: the model must outlive it.
class NumbersPanel final : public QWidget
{
    Q_OBJECT

public:
    explicit NumbersPanel(PlateModel& io_model, QWidget* ip_parent = nullptr);

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    enum Field
    {
        X,
        Y,
        Z,
        Turn,
        ScaleField,
        SizeX,
        SizeY,
        SizeZ,
        FieldCount,
    };

    void _Translate();
    void _Fill();
    void _Take(Field i_field);

    PlateModel& _model;
    QLabel* _title = nullptr;
    std::array<QLabel*, FieldCount> _labels{};
    std::array<QDoubleSpinBox*, FieldCount> _fields{};
    std::array<double, FieldCount> _shown{}; ///< as the fields were filled
};

} // namespace Workbench
