#include "apps/workbench/ControlNames.h"
#include "apps/workbench/WorkbenchFixture.h"
#include "workbench/MainWindow.h"
#include "workbench/ScenePage.h"
#include "workbench/ShortcutsDialog.h"
#include "workbench/platform/NewPlatformDialog.h"
#include "workbench/ribbon/CommandButton.h"
#include "workbench/ribbon/PrinterRibbon.h"

#include <QDockWidget>
#include <QMenu>
#include <QPushButton>

namespace {

using namespace Workbench;
using TestSupport::WaitFor;

class WindowTest : public TestSupport::WorkbenchFixture
{
protected:
    WindowTest() { _window->show(); }
    ~WindowTest() override
    {
        // Whatever is left unsaved asks nobody.
        _window.reset();
    }
    QUuid _FindMachine(const char* ip_name)
    {
        const auto& machines = _window->GetMachines();
        const QModelIndex service = machines.index(0, 0);
        for (int row = 0; row < machines.rowCount(service); ++row) {
            const QModelIndex machine = machines.index(row, 0, service);
            if (machine.data().toString() == QLatin1String(ip_name))
                return machine.data(MachineList::IdRole).toUuid();
        }
        return {};
    }
    bool _Prepare()
    {
        _window->GetBook().Take({_WriteCube("cube.stl", 20)});
        if (!WaitFor([this] { return !_window->GetBook().IsBusy() && !_FindMachine("Kestrel 180").isNull(); }))
            return false;
        _window->Attach(_FindMachine("Kestrel 180"));
        return WaitFor([this] {
            const auto buttons = _window->GetRibbon().GetButtons();
            return buttons.size() == 8 &&
                   std::none_of(buttons.begin(), buttons.end(),
                                [](const CommandButton* ip_button) { return ip_button->IsRefused(); });
        });
    }

    std::unique_ptr<MainWindow> _window = std::make_unique<MainWindow>(*_host, *_preferences, _File("recovery"));
};

TEST_F(WindowTest, EveryControlHasANameInEveryPanelAndDialog)
{
    const auto check = [](QWidget& io_widget, int i_least) {
        EXPECT_EQ(TestSupport::FindNameless(io_widget, i_least).toStdString(), "");
    };
    check(*_window, 8); // empty
    ASSERT_TRUE(_Prepare());
    check(*_window, 20);
    PlatformForm form;
    form.choices = {
        {QStringLiteral("a"), QStringLiteral("Material"), true, {{QStringLiteral("1"), QStringLiteral("one")}}, {}}};
    NewPlatformDialog platform(form, 2, {}, _window.get());
    platform.show();
    check(platform, 6);
    ShortcutsDialog shortcuts(*_window);
    shortcuts.show();
    check(shortcuts, 2);
    QStringList keys;
    for (const QAction* const action : _window->findChildren<QAction*>()) {
        for (const QKeySequence& sequence : action->shortcuts())
            keys << sequence.toString();
    }
    for (const CommandButton* const button : _window->GetRibbon().GetButtons())
        keys << button->shortcut().toString();
    keys.removeAll(QString());
    EXPECT_EQ(keys.removeDuplicates(), 0) << "two things for one key";
    for (const QMenu* const menu : _window->findChildren<QMenu*>()) {
        for (const QAction* const action : menu->actions())
            EXPECT_TRUE(action->isSeparator() || !action->text().isEmpty()) << menu->title().toStdString();
    }
}

TEST_F(WindowTest, TellsEverywhereThatAnotherCommandRuns)
{
    ASSERT_TRUE(_Prepare());
    const QString busy = QStringLiteral("Another command is still running.");
    bool wasTold = false;
    bool wasEdited = false;
    _host->GetApiProvider().RunJob(QStringLiteral("job"), [&](VexlorCore::IJobProgress& io_progress) {
        VexlorCore::UiThread::Invoke([&] {
            const auto buttons = _window->GetRibbon().GetButtons();
            wasTold = std::all_of(buttons.begin(), buttons.end(),
                                  [&](const CommandButton* ip_button) { return ip_button->GetRefusal() == busy; });
            // Everything else goes on.
            auto& other = _window->GetBook().New();
            _window->GetBook().Close(other);
            wasEdited = _window->GetBook().GetScenes().size() == 1;
            _window->CancelJob();
        });
        EXPECT_TRUE(_window->GetJobs().IsCancelling());
        return !io_progress.GetStopToken().stop_requested();
    });
    EXPECT_TRUE(wasTold && wasEdited);
    EXPECT_EQ(_window->GetJobs().GetNewest()->state, JobList::State::Cancelled);
    EXPECT_TRUE(WaitFor([&] { return !_window->GetRibbon().GetButtons().front()->IsRefused(); }, 1500));
    // The reason of a refusal, and that it goes with its cause.
    _window->GetBook().GetHistory().Undo(*_window->GetBook().GetActive());
    const CommandButton* const build = _window->GetRibbon().FindButton(QStringLiteral("Print3D.Print"));
    EXPECT_TRUE(WaitFor([&] { return build->GetRefusal() == QLatin1String("There is nothing on the plate."); }, 1500));
}

TEST_F(WindowTest, StaysSmallAndWorksInBothLanguagesWithoutAFrozenMoment)
{
    ASSERT_TRUE(_Prepare());
    EXPECT_LE(_window->minimumSizeHint().width(), 1024);
    EXPECT_LE(_window->minimumSizeHint().height(), 640);
    EXPECT_LT(_window->GetLoopWatch().GetLongest().count(), 1000);
    EXPECT_TRUE(_window->windowTitle().startsWith(QLatin1String("Scene 1")));
}

} // namespace
