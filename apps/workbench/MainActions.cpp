#include "workbench/MainActions.h"

#include "workbench/base/Preferences.h"
#include "workbench/look/LineIcon.h"

#include <QActionGroup>
#include <QCoreApplication>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

namespace Workbench {

namespace {

struct ActionRow
{
    MainActions::Id id;
    MainActions::MenuId menu;
    const char* text;
    const char* keys;
    const char* icon;
    bool beginsGroup = false;
};

constexpr ActionRow ActionRows[] = {
    {MainActions::New, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&New scene"), "Ctrl+N",
     "new"},
    {MainActions::Open, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Open…"), "Ctrl+O", "open"},
    {MainActions::Import, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Import parts…"),
     "Ctrl+I", "import"},
    {MainActions::Save, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Save"), "Ctrl+S", "save",
     true},
    {MainActions::SaveAs, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "Save &as…"),
     "Ctrl+Shift+S", ""},
    {MainActions::Copy, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "Copy of this s&cene"),
     "Ctrl+Shift+D", "copy"},
    {MainActions::Close, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "C&lose scene"), "Ctrl+W",
     "close", true},
    {MainActions::Quit, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Quit"), "Ctrl+Q", ""},
    {MainActions::Undo, MainActions::EditMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Undo"), "Ctrl+Z", "undo"},
    {MainActions::Redo, MainActions::EditMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Redo"), "Ctrl+Shift+Z",
     "redo"},
    {MainActions::Settings, MainActions::EditMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Settings…"), "Ctrl+,",
     "", true},
    {MainActions::FindMachine, MainActions::MachineMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Find a machine"),
     "Ctrl+M", "search"},
    {MainActions::NewPlatform, MainActions::MachineMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "New &platform…"),
     "Ctrl+Shift+N", "platform"},
    {MainActions::Detach, MainActions::MachineMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Detach the machine"),
     "", ""},
    {MainActions::UseManager, MainActions::MachineMenu,
     QT_TRANSLATE_NOOP("Workbench::MainActions", "&Use the Machine Manager"), "", "", true},
    {MainActions::CancelJob, MainActions::MachineMenu,
     QT_TRANSLATE_NOOP("Workbench::MainActions", "&Cancel the running job"), "Ctrl+.", "stop", true},
    {MainActions::Shortcuts, MainActions::HelpMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Keyboard shortcuts"),
     "F1", "help"},
    {MainActions::SupportReport, MainActions::HelpMenu,
     QT_TRANSLATE_NOOP("Workbench::MainActions", "Save a &report for support…"), "", ""},
    {MainActions::About, MainActions::HelpMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&About the workbench"), "",
     ""},
};

struct MenuRow
{
    MainActions::MenuId id;
    int parent; ///< MenuId, or -1 for the menu bar
    const char* text;
};

constexpr MenuRow MenuRows[] = {
    {MainActions::FileMenu, -1, QT_TRANSLATE_NOOP("Workbench::MainActions", "&File")},
    {MainActions::EditMenu, -1, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Edit")},
    {MainActions::MachineMenu, -1, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Machine")},
    {MainActions::ViewMenu, -1, QT_TRANSLATE_NOOP("Workbench::MainActions", "&View")},
    {MainActions::HelpMenu, -1, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Help")},
    {MainActions::RecentMenu, MainActions::FileMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Recent files")},
    {MainActions::PanelsMenu, MainActions::ViewMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Panels")},
    {MainActions::ThemeMenu, MainActions::ViewMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Colours")},
    {MainActions::LanguageMenu, MainActions::ViewMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "&Language")},
};

struct ChoiceRow
{
    MainActions::MenuId menu;
    const char* text; ///< languages are called what their speakers call them
    int theme;
    const char* language;
};

constexpr ChoiceRow ChoiceRows[] = {
    {MainActions::ThemeMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "As the desktop"), 0, nullptr},
    {MainActions::ThemeMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "Light"), 1, nullptr},
    {MainActions::ThemeMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "Dark"), 2, nullptr},
    {MainActions::LanguageMenu, QT_TRANSLATE_NOOP("Workbench::MainActions", "As the desktop"), 0, ""},
    {MainActions::LanguageMenu, "English", 0, "en"},
    {MainActions::LanguageMenu, "Deutsch", 0, "de"},
};

constexpr char TextProperty[] = "text";

} // namespace

MainActions::MainActions(QMainWindow& io_window, Preferences& io_preferences)
    : QObject(&io_window)
{
    for (const MenuRow& row : MenuRows) {
        auto* const menu = new QMenu(&io_window);
        menu->menuAction()->setProperty(TextProperty, QByteArray(row.text));
        if (row.parent < 0)
            io_window.menuBar()->addMenu(menu);
        _menus[row.id] = menu;
    }
    for (const ActionRow& row : ActionRows) {
        auto* const action = new QAction(&io_window);
        action->setProperty(TextProperty, QByteArray(row.text));
        action->setShortcut(QKeySequence(QLatin1String(row.keys)));
        if (*row.icon)
            action->setIcon(MakeLineIcon(QLatin1String(row.icon)));
        if (row.beginsGroup)
            _menus[row.menu]->addSeparator();
        _menus[row.menu]->addAction(action);
        _actions[row.id] = action;
        if (row.id == Import)
            _menus[FileMenu]->addMenu(_menus[RecentMenu]);
    }
    for (const MenuRow& row : MenuRows) {
        if (row.parent == ViewMenu)
            _menus[ViewMenu]->addMenu(_menus[row.id]);
    }
    _actions[Redo]->setShortcuts(
        {QKeySequence(QStringLiteral("Ctrl+Shift+Z")), QKeySequence(QStringLiteral("Ctrl+Y"))});
    _AddChoices(io_preferences);
    connect(&io_preferences, &Preferences::RecentFilesChanged, this,
            [this, &io_preferences] { _FillRecentFiles(io_preferences); });
    SetTexts();
    _FillRecentFiles(io_preferences);
}

void MainActions::_AddChoices(Preferences& io_preferences)
{
    for (const MenuId id : {ThemeMenu, LanguageMenu}) {
        auto* const group = new QActionGroup(this);
        for (const ChoiceRow& row : ChoiceRows) {
            if (row.menu != id)
                continue;
            auto* const action = new QAction(group);
            action->setCheckable(true);
            action->setProperty(TextProperty, QByteArray(row.text));
            _menus[id]->addAction(action);
            const auto isChosen = [&io_preferences, &row] {
                return row.language ? io_preferences.GetLanguage() == QLatin1String(row.language)
                                    : static_cast<int>(io_preferences.GetTheme()) == row.theme;
            };
            action->setChecked(isChosen());
            const auto follow = [action, isChosen] {
                action->setChecked(isChosen());
            };
            connect(&io_preferences, &Preferences::ThemeChanged, action, follow);
            connect(&io_preferences, &Preferences::LanguageChanged, action, follow);
            connect(action, &QAction::triggered, &io_preferences, [&io_preferences, &row] {
                if (row.language)
                    io_preferences.SetLanguage(QLatin1String(row.language));
                else
                    io_preferences.SetTheme(static_cast<Theme>(row.theme));
            });
        }
    }
}

void MainActions::_FillRecentFiles(Preferences& io_preferences)
{
    QMenu& menu = *_menus.at(RecentMenu);
    menu.clear();
    const QStringList files = io_preferences.GetRecentFiles();
    for (const QString& file : files) {
        QAction* const action =
            menu.addAction(QFileInfo(file).fileName().replace(QLatin1Char('&'), QLatin1String("&&")));
        action->setToolTip(file);
        action->setStatusTip(file);
        connect(action, &QAction::triggered, this, [this, file] { Q_EMIT RecentFileChosen(file); });
    }
    menu.setEnabled(!files.isEmpty());
    if (files.isEmpty())
        return;
    menu.addSeparator();
    menu.addAction(tr("Clear this list"), &io_preferences, &Preferences::ClearRecentFiles);
}

void MainActions::SetTexts()
{
    const auto translate = [](QAction* ip_action) {
        const QByteArray text = ip_action->property(TextProperty).toByteArray();
        if (!text.isEmpty())
            ip_action->setText(QCoreApplication::translate("Workbench::MainActions", text.constData()));
    };
    for (const auto& [id, menu] : _menus) {
        translate(menu->menuAction());
        for (QAction* const action : menu->actions())
            translate(action);
    }
    SetUndo(_undo, _redo);
}

void MainActions::SetUndo(const QString& i_name, const QString& i_redo_name)
{
    _undo = i_name;
    _redo = i_redo_name;
    _actions[Undo]->setEnabled(!i_name.isEmpty());
    _actions[Undo]->setText(i_name.isEmpty() ? tr("&Undo") : tr("&Undo: %1").arg(i_name));
    _actions[Redo]->setEnabled(!i_redo_name.isEmpty());
    _actions[Redo]->setText(i_redo_name.isEmpty() ? tr("&Redo") : tr("&Redo: %1").arg(i_redo_name));
}

} // namespace Workbench
