#pragma once

#include "workbench/base/Background.h"

#include <QDialog>

#include <filesystem>

class QComboBox;
class QFormLayout;
class QLabel;
class QPushButton;

namespace Workbench {

class Preferences;

/// Where the program keeps things; absolute.
struct ProgramFolders
{
    std::filesystem::path profiles;     ///< of the user's own printers
    std::filesystem::path machineFiles; ///< what machines made
    std::filesystem::path keptResults;  ///< of the slicing engine
};

/// What the user may set; everything takes effect at once.
///
/// Thread: UI thread.
/// Ownership: the preferences must outlive it.
class SettingsDialog final : public QDialog
{
    Q_OBJECT

public:
    SettingsDialog(Preferences& io_preferences, ProgramFolders i_folders, QWidget* ip_parent);

Q_SIGNALS:
    /// A folder that the user wants to see.
    void OpenWanted(const QString& i_folder);

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    void _Fill();
    void _AddLook(QFormLayout& io_form);
    void _AddEstimates(QFormLayout& io_form);
    void _AddFolders(QFormLayout& io_form);
    void _AddLog(QFormLayout& io_form);
    void _AddFolder(QFormLayout& io_form, const QString& i_title, const QString& i_folder);
    void _Measure();

    Preferences& _preferences;
    const ProgramFolders _folders;
    QWidget* _content = nullptr;
    QLabel* _size = nullptr;
    QPushButton* _clear = nullptr;
    Background _background;
};

} // namespace Workbench
