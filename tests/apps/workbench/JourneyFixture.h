#pragma once

#include "apps/workbench/WorkbenchFixture.h"
#include "workbench/MainWindow.h"
#include "workbench/ScenePage.h"
#include "workbench/ribbon/CommandButton.h"
#include "workbench/ribbon/PrinterRibbon.h"

#include <QApplication>
#include <QDialog>
#include <QDropEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QUrl>

namespace TestSupport {

/// The window as a user has it before them, and the user's hands: files dropped, keys, clicks, boxes answered.
///
/// What a click brings about may turn an event loop of its own inside of the one of the test, so conditions are about
/// what is there in the end, and boxes are answered from a timer.
class JourneyFixture : public WorkbenchFixture
{
protected:
    JourneyFixture()
    {
        _window = std::make_unique<Workbench::MainWindow>(*_host, *_preferences, _File("recovery"));
        _window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(_window.get()));
        _hand.setInterval(20);
        QObject::connect(&_hand, &QTimer::timeout, [this] { _AnswerBox(); });
        _hand.start();
    }
    ~JourneyFixture() override
    {
        _hand.stop();
        _window.reset();
    }

    /// From now on every box is answered with the button of this text, or its last one.
    void _AnswerBoxesWith(const char* ip_button) { _answer = QLatin1String(ip_button); }

    static QDialog* _FindDialog()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const dialog = qobject_cast<QDialog*>(widget);
            if (dialog && dialog->isVisible() && !qobject_cast<QMessageBox*>(dialog))
                return dialog;
        }
        return nullptr;
    }
    void _Drop(const QString& i_file)
    {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(i_file)});
        QDragEnterEvent entering(_window->rect().center(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(_window.get(), &entering);
        EXPECT_TRUE(entering.isAccepted());
        QDropEvent event(_window->rect().center(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(_window.get(), &event);
    }
    VexlorCore::DataSet& _GetScene() { return _window->GetPage()->GetScene(); }
    bool _DropCube(double i_edge = 20)
    {
        _Drop(_WriteCube("bracket.stl", i_edge));
        return WaitFor([&] { return _window->GetPage() && _GetScene().GetParts().size() == 1; });
    }
    /// By keys: to the search, the words, Enter.
    bool _Attach(const char* ip_words)
    {
        if (!WaitFor([&] { return _window->GetMachines().GetMachineCount() >= 4; }))
            return false;
        _window->activateWindow();
        _window->GetActions().Get(Workbench::MainActions::FindMachine)->trigger();
        auto* const search = qobject_cast<QLineEdit*>(_window->focusWidget());
        if (!search)
            return false;
        search->clear();
        QTest::keyClicks(search, QLatin1String(ip_words));
        QTest::keyClick(search, Qt::Key_Return);
        return WaitFor([&] { return _window->GetRibbon().GetButtons().size() == 8; });
    }
    bool _MakePlatform()
    {
        QMetaObject::invokeMethod(
            _window.get(), [this] { _window->NewPlatform(); }, Qt::QueuedConnection);
        if (!WaitFor([] { return _FindDialog() != nullptr; }, 30'000))
            return false;
        QTest::keyClick(_FindDialog(), Qt::Key_Return);
        return WaitFor([this] { return !_FindDialog() && !_window->GetJobs().IsRunning(); }, 30'000);
    }
    bool _Prepare(const char* ip_machine = "kes 180") { return _DropCube() && _Attach(ip_machine) && _MakePlatform(); }
    /// By mouse, once the machine said that it can; until it has come back.
    bool _Run(const char* ip_id, const char* ip_title)
    {
        auto* const button = _window->GetRibbon().FindButton(QLatin1String(ip_id));
        if (!button || !WaitFor([&] { return !button->IsRefused(); }))
            return false;
        QTest::mouseClick(button, Qt::LeftButton);
        return WaitFor(
            [&] {
                const auto* const job = _window->GetJobs().GetNewest();
                return job && job->title == QLatin1String(ip_title) && !_window->GetJobs().IsRunning();
            },
            60'000);
    }
    std::string _GetState() const
    {
        const auto* const job = _window->GetJobs().GetNewest();
        return job ? Workbench::JobList::GetStateName(*job).toStdString() : "";
    }

    std::unique_ptr<Workbench::MainWindow> _window;
    QStringList _boxes; ///< texts of those that were answered

private:
    void _AnswerBox()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const box = qobject_cast<QMessageBox*>(widget);
            if (!box || !box->isVisible())
                continue;
            EXPECT_EQ(box->buttons().isEmpty(), false);
            QAbstractButton* chosen = box->buttons().last();
            for (QAbstractButton* const button : box->buttons()) {
                if (button->text().remove(QLatin1Char('&')) == _answer)
                    chosen = button;
            }
            _boxes << box->text();
            return chosen->click();
        }
    }

    QTimer _hand;
    QString _answer;
};

} // namespace TestSupport
