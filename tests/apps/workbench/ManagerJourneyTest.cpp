#include "apps/workbench/JourneyFixture.h"
#include "support/ServedProgram.h"
#include "workbench/posted/PostedJobs.h"
#include "workbench/posted/PostedPanel.h"

#include <QDesktopServices>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QSignalSpy>

namespace {

using namespace Workbench;
using TestSupport::WaitFor;

constexpr char Post[] = "Print3D.PostJob";
constexpr int LongTime = 60'000; // ms

class ManagerJourneyTest : public TestSupport::JourneyFixture
{
protected:
    ManagerJourneyTest()
    {
        QDir().mkpath(_File("run"));
        QFile::setPermissions(_File("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", _File("run").toUtf8());
    }
    ~ManagerJourneyTest() override
    {
        // The machines of a manager that goes first would be looked for.
        _window.reset();
        _host.reset();
        qunsetenv("MACHINESERVICE_MANAGER_PROGRAM");
    }
    /// As a host starts it, but it ends with the test.
    bool _ServeManager()
    {
        _manager = std::make_unique<TestSupport::ServedProgram>(
            QStringLiteral(MACHINED_PROGRAM),
            QStringList{QStringLiteral("--manager"), QStringLiteral("only"), QStringLiteral("--socket"),
                        _File("run/machineservice/manager.sock"), QStringLiteral("--print-address")});
        return !_manager->WaitUntilReady().empty();
    }
    void _SetUse(bool i_uses) { _window->GetActions().Get(MainActions::UseManager)->setChecked(i_uses); }
    QModelIndex _FindService() const
    {
        const auto& machines = _window->GetMachines();
        for (int row = 0; row < machines.rowCount(); ++row) {
            if (machines.index(row, 0).data().toString() == QLatin1String("Machine Manager"))
                return machines.index(row, 0);
        }
        return {};
    }
    QUuid _FindMachine(const char* ip_beginning) const
    {
        const auto& machines = _window->GetMachines();
        const QModelIndex service = _FindService();
        for (int row = 0; service.isValid() && row < machines.rowCount(service); ++row) {
            const QModelIndex machine = machines.index(row, 0, service);
            if (machine.data().toString().startsWith(QLatin1String(ip_beginning)))
                return machine.data(MachineList::IdRole).toUuid();
        }
        return {};
    }
    /// Up to a platform that can be posted.
    bool _PrepareToPost()
    {
        _SetUse(true);
        if (!_DropCube() || !WaitFor([this] { return !_FindMachine("Kestrel 180").isNull(); }, LongTime))
            return false;
        _window->Attach(_FindMachine("Kestrel 180"));
        return WaitFor([this] { return _window->GetRibbon().FindButton(QLatin1String(Post)) != nullptr; }) &&
               _MakePlatform();
    }
    QAbstractButton* _FindButton(const char* ip_text) const
    {
        for (auto* const button : _window->findChild<PostedPanel*>()->findChildren<QAbstractButton*>()) {
            if (button->text() == QLatin1String(ip_text))
                return button;
        }
        return nullptr;
    }

    std::unique_ptr<TestSupport::ServedProgram> _manager;
};

/// Takes what would be shown by a browser.
class Browser final : public QObject
{
    Q_OBJECT

public:
    Browser() { QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "Open"); }
    ~Browser() override { QDesktopServices::unsetUrlHandler(QStringLiteral("http")); }
    Q_INVOKABLE void Open(const QUrl& i_address) { opened = i_address; }

    QUrl opened;
};

TEST_F(ManagerJourneyTest, FromTheWindowToTheMachineFileOfAJob)
{
    EXPECT_FALSE(_window->GetActions().Get(MainActions::UseManager)->isChecked());
    EXPECT_EQ(_window->GetPostedJobs(), nullptr);
    ASSERT_TRUE(_ServeManager());
    ASSERT_TRUE(_PrepareToPost());
    EXPECT_TRUE(_preferences->UsesManager());
    PostedJobs& jobs = *_window->GetPostedJobs();
    ASSERT_TRUE(WaitFor([&] { return jobs.GetState() == PostedJobs::State::There; }));
    EXPECT_EQ(jobs.rowCount(), 0);

    _AnswerBoxesWith("OK");
    ASSERT_TRUE(_Run(Post, "Build"));
    EXPECT_EQ(_GetState(), "Done") << _boxes.join(QLatin1Char(' ')).toStdString();
    EXPECT_EQ(_boxes, QStringList{QStringLiteral("The platform was successfully sent to processing.")});
    ASSERT_TRUE(WaitFor([&] { return jobs.rowCount() == 1; }));
    ASSERT_TRUE(WaitFor([&] { return jobs.GetJob(0)->IsFinal(); }, LongTime));
    EXPECT_EQ(jobs.index(0, PostedJobs::StateColumn).data().toString().toStdString(), "Done") << jobs.GetJob(0)->detail;

    const QString id = QString::fromStdString(jobs.GetJob(0)->id);
    QSignalSpy saved(&jobs, &PostedJobs::Saved);
    jobs.SaveMachineFile(id, _File("of the job.gcode"));
    ASSERT_TRUE(WaitFor([&] { return saved.size() == 1; }));
    EXPECT_NE(TestSupport::ReadFile(_Path("of the job.gcode")).find("G1"), std::string::npos);
    const Browser browser;
    ASSERT_TRUE(WaitFor([&] { return _FindButton("Show in the browser")->isEnabled(); }));
    _FindButton("Show in the browser")->click();
    EXPECT_TRUE(WaitFor([&] { return browser.opened.path().contains(id); }));
    EXPECT_EQ(_boxes.size(), 1);

    // Without it nothing of the manager is there but the machine that the scene is attached to.
    _SetUse(false);
    EXPECT_EQ(_window->GetPostedJobs(), nullptr);
    EXPECT_EQ(_window->findChild<PostedPanel*>(), nullptr);
    EXPECT_TRUE(WaitFor([this] { return _window->GetMachines().rowCount(_FindService()) <= 1; }));
    _SetUse(true);
    ASSERT_TRUE(WaitFor([this] {
        return _window->GetPostedJobs()->rowCount() == 1 && _window->GetMachines().rowCount(_FindService()) > 1;
    }));
}

TEST_F(ManagerJourneyTest, AWindowThatIsClosedWhileItPostsEndsSoonAlsoWhenNobodyAnswers)
{
    ASSERT_TRUE(_ServeManager());
    ASSERT_TRUE(_PrepareToPost());
    auto* const button = _window->GetRibbon().FindButton(QLatin1String(Post));
    ASSERT_TRUE(WaitFor([&] { return !button->IsRefused(); }));
    _AnswerBoxesWith("Do not save");
    _manager->Signal(SIGSTOP);
    QElapsedTimer since;
    QTimer closing;
    QObject::connect(&closing, &QTimer::timeout, [&] {
        if (!_window->GetJobs().IsRunning() || since.isValid())
            return;
        since.start();
        _AnswerBoxesWith("Stop and close");
        _window->close();
        _AnswerBoxesWith("Do not save");
    });
    closing.start(20);
    QTest::mouseClick(button, Qt::LeftButton);
    ASSERT_TRUE(WaitFor([&] { return since.isValid() && !_window->GetJobs().IsRunning() && !_window->isVisible(); }));
    EXPECT_LT(since.elapsed(), 5000);
    since.restart();
    _window.reset();
    EXPECT_LT(since.elapsed(), 2000);
    _manager->Signal(SIGCONT);
}

TEST_F(ManagerJourneyTest, AManagerThatDoesNotStartIsOneSentenceAndCanBeStartedLater)
{
    qputenv("MACHINESERVICE_MANAGER_PROGRAM", "/bin/false");
    _SetUse(true);
    ASSERT_TRUE(WaitFor([this] { return _boxes.size() == 1; }, LongTime));
    EXPECT_TRUE(_boxes.front().startsWith(QLatin1String("The Machine Manager did not start")))
        << _boxes.front().toStdString();
    PostedJobs& jobs = *_window->GetPostedJobs();
    EXPECT_EQ(jobs.GetState(), PostedJobs::State::Away);
    EXPECT_EQ(jobs.GetWhy(), _boxes.front());
    ASSERT_TRUE(_ServeManager());
    _FindButton("Start the Machine Manager")->click();
    EXPECT_TRUE(WaitFor([&] { return jobs.GetState() == PostedJobs::State::There; }));
    EXPECT_TRUE(WaitFor([this] { return !_FindMachine("Kestrel 180").isNull(); }));
    EXPECT_EQ(_boxes.size(), 1);
}

} // namespace

#include "ManagerJourneyTest.moc"
