#include "apps/workbench/WorkbenchFixture.h"
#include "workbench/MainWindow.h"
#include "workbench/ScenePage.h"
#include "workbench/ribbon/CommandButton.h"
#include "workbench/ribbon/PrinterRibbon.h"

#include <QAccessible>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QDirIterator>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>
#include <QUrl>

namespace {

using namespace Workbench;
using TestSupport::WaitFor;

class JourneyTest : public TestSupport::WorkbenchFixture
{
protected:
    static QDialog* _FindDialog()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (auto* const dialog = qobject_cast<QDialog*>(widget); dialog && dialog->isVisible())
                return dialog;
        }
        return nullptr;
    }
    void _Drop(const QString& i_file)
    {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(i_file)});
        QDragEnterEvent entering(_window.rect().center(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&_window, &entering);
        EXPECT_TRUE(entering.isAccepted());
        QDropEvent event(_window.rect().center(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&_window, &event);
    }

    MainWindow _window{*_host, *_preferences, _File("recovery")};
};

TEST_F(JourneyTest, FromAnEmptyStartToAMachineFile)
{
    _window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&_window));
    ASSERT_TRUE(WaitFor([&] { return _window.GetMachines().GetMachineCount() >= 4; }));
    _Drop(_WriteCube("bracket.stl", 20));
    ASSERT_TRUE(WaitFor([&] { return _window.GetPage() && _window.GetPage()->GetScene().GetParts().size() == 1; }));

    // By keys: to the search, the words, Enter.
    _window.activateWindow();
    _window.GetActions().Get(MainActions::FindMachine)->trigger();
    auto* const search = qobject_cast<QLineEdit*>(_window.focusWidget());
    ASSERT_TRUE(search);
    QTest::keyClicks(search, QStringLiteral("kes 180"));
    QTest::keyClick(search, Qt::Key_Return);
    ASSERT_TRUE(WaitFor([&] { return _window.GetRibbon().GetButtons().size() == 8; }));

    QMetaObject::invokeMethod(
        &_window, [&] { _window.NewPlatform(); }, Qt::QueuedConnection);
    ASSERT_TRUE(WaitFor([&] { return _FindDialog() != nullptr; }, 30'000));
    QTest::keyClick(_FindDialog(), Qt::Key_Return);
    ASSERT_TRUE(WaitFor([&] { return !_FindDialog() && !_window.GetJobs().IsRunning(); }, 30'000));
    EXPECT_EQ(_window.GetPage()->GetScene().GetParts().size(), 1U);

    // By mouse: Build, once the machine said that it can.
    CommandButton* const build = _window.GetRibbon().FindButton(QStringLiteral("Print3D.Print"));
    ASSERT_TRUE(WaitFor([&] { return !build->IsRefused(); }));
    QTest::mouseClick(build, Qt::LeftButton);
    // The command turns an event loop of its own inside of this one.
    ASSERT_TRUE(WaitFor(
        [&] {
            return _window.GetJobs().GetNewest()->title == QLatin1String("Build") && !_window.GetJobs().IsRunning();
        },
        60'000));
    const JobList::Entry& job = *_window.GetJobs().GetNewest();
    EXPECT_EQ(JobList::GetStateName(job).toStdString(), "Done") << job.failures.join(QLatin1Char(' ')).toStdString();
    EXPECT_EQ(job.percent, 100);
    ASSERT_EQ(job.files.size(), 1);
    EXPECT_NE(TestSupport::ReadFile(job.files.front().toStdString()).find("G1"), std::string::npos);
    EXPECT_LT(_window.GetLoopWatch().GetLongest().count(), 1000);

    bool is_saved = false;
    _window.GetBook().Save(_window.GetPage()->GetScene(), _File("bracket.TavAMX"), [&] { is_saved = true; });
    EXPECT_TRUE(WaitFor([&] { return is_saved; }));
    EXPECT_TRUE(_window.close());
}

} // namespace
