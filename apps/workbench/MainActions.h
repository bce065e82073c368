#pragma once

#include <QAction>
#include <QObject>

#include <map>

class QMainWindow;
class QMenu;

namespace Workbench {

class Preferences;

/// Menus and actions of the window: words, shortcuts, icons. What they do is connected by the window.
class MainActions final : public QObject
{
    Q_OBJECT

public:
    enum Id
    {
        New,
        Open,
        Import,
        Save,
        SaveAs,
        Copy,
        Close,
        Quit,
        Undo,
        Redo,
        FindMachine,
        NewPlatform,
        Detach,
        UseManager,
        CancelJob,
        Settings,
        Shortcuts,
        SupportReport,
        About,
    };
    enum MenuId
    {
        FileMenu,
        RecentMenu,
        EditMenu,
        MachineMenu,
        ViewMenu,
        PanelsMenu,
        ThemeMenu,
        LanguageMenu,
        HelpMenu,
    };

    MainActions(QMainWindow& io_window, Preferences& io_preferences);

    QAction* Get(Id i_id) const { return _actions.at(i_id); }
    QMenu* GetMenu(MenuId i_id) const { return _menus.at(i_id); }
    /// In the window's language.
    void SetTexts();
    /// What can be undone is told by its name.
    void SetUndo(const QString& i_name, const QString& i_redo_name);

Q_SIGNALS:
    void RecentFileChosen(const QString& i_file);

private:
    void _AddChoices(Preferences& io_preferences);
    void _FillRecentFiles(Preferences& io_preferences);

    std::map<Id, QAction*> _actions;
    std::map<MenuId, QMenu*> _menus;
    QString _undo;
    QString _redo;
};

} // namespace Workbench
