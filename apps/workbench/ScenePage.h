#pragma once

#include "workbench/scene/Selection.h"

#include <QPointer>
#include <QWidget>

class QLabel;
class QPushButton;
class QTabWidget;

namespace MachineService {
class Machine;
}

namespace Workbench {

class PartsPanel;
class PlateView;
class Preferences;

/// One open scene: its machine and what that estimated above, the plate below.
class ScenePage final : public QWidget
{
    Q_OBJECT

public:
    /// Ownership: scene and preferences must outlive it.
    ScenePage(VexlorCore::DataSet& io_scene, const Preferences& i_preferences, QWidget* ip_parent = nullptr);
    ~ScenePage() override;

    VexlorCore::DataSet& GetScene() { return _scene; }
    Selection& GetSelection() { return _selection; }
    PlateView& GetPlate() { return *_plate; }
    /// Goes into a dock of the window while the scene is active; goes with the page.
    QWidget* GetSide() { return _side; }

    /// After the scene or its machine changed.
    /// \param ip_machine null for a scene without a machine. \param i_is_gone it has one that nobody offers any more.
    void Show(const MachineService::Machine* ip_machine, bool i_is_gone, const QString& i_machine_name);
    /// What stands beside the plate is older than the scene.
    void SetEstimatesOld(bool i_are_old);

Q_SIGNALS:
    void ChooseMachineWanted();
    void NewPlatformWanted();

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    void _ShowEstimates();
    void _SetTexts();

    VexlorCore::DataSet& _scene;
    const Preferences& _preferences;
    Selection _selection;
    PlateView* _plate;
    QLabel* _picture;
    QLabel* _machine;
    QLabel* _estimates;
    QPushButton* _choose;
    QPushButton* _platform;
    QPointer<QWidget> _side;
    PartsPanel* _parts;
    QTabWidget* _sideTabs;
    QString _machineText;
    bool _areEstimatesOld = false;
};

} // namespace Workbench
