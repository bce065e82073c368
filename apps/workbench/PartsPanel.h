#pragma once

#include <QListWidget>

namespace VexlorCore {
class DataSet;
}

namespace Workbench {

class Selection;

/// The parts of one scene by name and size; selects as the plate does.
class PartsPanel final : public QListWidget
{
    Q_OBJECT

public:
    PartsPanel(VexlorCore::DataSet& io_scene, Selection& io_selection, QWidget* ip_parent = nullptr);

    /// After the scene changed.
    void Fill();

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    void _ShowSelection();
    void _TakeSelection();

    VexlorCore::DataSet& _scene;
    Selection& _selection;
    bool _isShowing = false;
};

} // namespace Workbench
