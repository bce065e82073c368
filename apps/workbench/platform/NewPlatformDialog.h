#pragma once

#include "workbench/platform/PlatformForm.h"

#include <QDialog>

#include <functional>

class QComboBox;
class QDialogButtonBox;
class QFormLayout;
class QLabel;
class QRadioButton;

namespace Workbench {

/// Asks what a machine's new platform is to be. It stays open, with its values, until the machine made the platform.
class NewPlatformDialog final : public QDialog
{
    Q_OBJECT

public:
    /// What becomes of the parts of the present scene.
    enum class Parts
    {
        Keep,
        Replace,
        NewScene,
    };
    /// Makes the platform; may turn the event loop.
    /// \return why it was not made, one sentence; empty when it was.
    using Make = std::function<QString(const PlatformForm&, Parts)>;

    /// \param i_part_count of the present scene; the question about them is left out for none.
    NewPlatformDialog(PlatformForm i_form, int i_part_count, Make i_make, QWidget* ip_parent);

    void accept() override;
    void reject() override;

Q_SIGNALS:
    /// The user gives up a platform that is being made.
    void CancelWanted();

private:
    void _AddText(QWidget* ip_column, const QString& i_text, bool i_is_dimmed);
    void _AddChoices(QFormLayout& io_rows);
    void _AddParts(QFormLayout& io_rows, int i_part_count);
    void _Tell(const QString& i_sentence);
    Parts _GetParts() const;

    PlatformForm _form;
    Make _make;
    std::vector<QComboBox*> _boxes; ///< one for each choice
    QRadioButton* _keep = nullptr;
    QRadioButton* _replace = nullptr;
    QWidget* _fields;
    QLabel* _error;
    QDialogButtonBox* _buttons;
    bool _isMaking = false;
};

} // namespace Workbench
