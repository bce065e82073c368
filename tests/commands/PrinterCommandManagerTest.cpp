#include "commands/PrinterCommandManager.h"

#include "commands/CommandsFixture.h"
#include "support/Failures.h"

#include "vexlorcore/Notifications.h"
#include "vexlorui/ActiveSceneContext.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QSignalSpy>

namespace {

using namespace TestSupport;

using Log = std::vector<std::string>;

class PrinterCommandManagerTest : public CommandsFixture
{
protected:
    PrinterCommandManagerTest()
    {
        _Offer({1, 3});
        _script->data.name = "Dr\u00fccker";
        const auto note = [this](const char* ip_what) {
            return [this, ip_what](const QSet<QString>& i_ids) {
                for (const QString& id : i_ids)
                    _log.push_back(ip_what + (" " + id.toStdString()));
            };
        };
        QObject::connect(&_manager, &PrinterCommandManager::CommandsAdded, note("+"));
        QObject::connect(&_manager, &PrinterCommandManager::CommandsRemoved, note("-"));
        QObject::connect(&_manager, &PrinterCommandManager::PrinterNameUpdated,
                         [this](const QString& i_name) { _log.push_back("name " + i_name.toStdString()); });
        QObject::connect(&_manager, &PrinterCommandManager::Activated, [this] { _log.emplace_back("activated"); });
    }

    void _Offer(std::vector<int> i_kinds)
    {
        _script->commands.clear();
        for (const int kind : i_kinds) {
            CommandDescription description;
            description.type = static_cast<CommandType>(kind);
            description.name = "own";
            _script->commands.push_back(description);
        }
    }

    QStringList _Ids() const
    {
        QStringList ids;
        for (const auto* command : _manager.GetAllCommands())
            ids << command->GetId();
        ids.sort();
        return ids;
    }

    Log _TakeLog() { return std::exchange(_log, {}); }

    bool _attached = true;
    Log _log;
    PrinterCommandManager _manager{_getScene,
                                   [this](VexlorCore::DataSet* ip_scene) {
                                       return _attached && ip_scene ? std::optional(_MakeMachine()) : std::nullopt;
                                   },
                                   _getProvider,
                                   [] {
                                       return QString();
                                   }};
};

TEST_F(PrinterCommandManagerTest, FollowsTheMachineOfTheScene)
{
    _attached = false;
    _manager.Activate();
    EXPECT_EQ((Log{"activated"}), _TakeLog());
    _attached = true;
    _manager.CheckCommands();
    EXPECT_EQ((Log{"+ Print3D.Print", "+ Print3D.ConfigurPlatform", "name Dr\u00fccker"}), _TakeLog());
    EXPECT_EQ(QString::fromUtf8("Dr\u00fccker"), _manager.PrinterName());
    auto* const build = _manager.GetCommand(QStringLiteral("Print3D.Print"));
    ASSERT_TRUE(build);
    EXPECT_EQ(_manager.thread(), build->thread());

    // The same machine with the same commands, then with others: what stays is not touched.
    _manager.CheckCommands();
    EXPECT_EQ((Log{"name Dr\u00fccker"}), _TakeLog());
    // Whatever else was done to the storage is put right.
    _manager.RemoveCommand(QStringLiteral("Print3D.ConfigurPlatform"));
    _manager.CheckCommands();
    EXPECT_EQ((Log{"- Print3D.ConfigurPlatform", "+ Print3D.ConfigurPlatform", "name Dr\u00fccker"}), _TakeLog());
    _Offer({1, 4});
    _manager.MachineModified(QUuid::createUuid());
    EXPECT_TRUE(_TakeLog().empty());
    _manager.MachineModified(QUuid(QStringLiteral("{01000000-0000-0000-0000-000000000000}")));
    EXPECT_EQ((Log{"- Print3D.ConfigurPlatform", "+ Print3D.ConfigureParts", "name Dr\u00fccker"}), _TakeLog());
    EXPECT_EQ(build, _manager.GetCommand(QStringLiteral("Print3D.Print")));

    // Another machine: all go before the first comes.
    _script->data.id.data[0] = 2;
    _script->data.name = "B";
    _manager.Activate();
    Log log = _TakeLog();
    std::sort(log.begin() + 1, log.begin() + 3);
    EXPECT_EQ((Log{"activated", "- Print3D.ConfigureParts", "- Print3D.Print", "+ Print3D.Print",
                   "+ Print3D.ConfigureParts", "name B"}),
              log);

    _manager.Deactivate();
    EXPECT_EQ(2u, static_cast<std::size_t>(_Ids().size())) << "the commands stay";
    _attached = false;
    _manager.CheckCommands();
    log = _TakeLog();
    std::sort(log.begin(), log.end());
    EXPECT_EQ((Log{"- Print3D.ConfigureParts", "- Print3D.Print", "name "}), log);
    EXPECT_TRUE(_Ids().isEmpty());
    _manager.CheckCommands();
    _manager.MachineModified(QUuid());
    EXPECT_TRUE(_TakeLog().empty());
}

TEST_F(PrinterCommandManagerTest, ACommandFollowsWhatItConfigures)
{
    _Offer({2});
    for (const bool connection : {false, true, false}) {
        _script->data.configuresConnection = connection;
        _manager.CheckCommands();
        EXPECT_EQ(_Ids().contains(QStringLiteral("Print3D.ConfigureConnection")), connection);
        EXPECT_EQ(_Ids().size(), 1);
    }
}

/// What a cache of answers tells.
class KnowingStrategy final : public TestSupport::FakeMachine, public IKnowsCanRun
{
public:
    KnowingStrategy(const Script& i_script, KnownCanRunAnswer i_known)
        : FakeMachine(i_script.data, std::make_shared<Script>(i_script))
        , _known(std::move(i_known))
    {}
    std::future<bool> CanRunCommand(const boost::uuids::uuid&) const override
    {
        return TestSupport::MakeReady(_known.answer.canRun);
    }
    KnownCanRunAnswer GetKnownCanRunAnswer(const boost::uuids::uuid&) const override { return _known; }

private:
    KnownCanRunAnswer _known;
};

TEST_F(PrinterCommandManagerTest, TellsWhyEachCommandIsDisabled)
{
    using Kind = CommandRefusal::Kind;
    const auto now = std::chrono::system_clock::now();
    const std::string time = QDateTime::currentDateTime().toString(QStringLiteral("HH:mm")).toStdString();
    const auto part = TestSupport::MakePart(L"part");
    struct Row
    {
        int kind;
        bool hasParts, allowsBuild, isRunning;
        KnownCanRunAnswer known;
        Kind expected;
        std::string text;
    };
    const Row rows[] = {
        {4, true, true, false, {{true, {}}, now, {}}, Kind::None, ""},
        {4, true, true, false, {{true, {}}, now, now}, Kind::None, ""}, // the last answer holds
        {4,
         true,
         true,
         false,
         {{}, {}, {}},
         Kind::NotAnsweredYet,
         "The machine is being asked whether it can do this."},
        {4, true, true, false, {{}, now, {}}, Kind::MachineRefuses, "The machine does not allow it now."},
        {4,
         true,
         true,
         false,
         {{false, "The <b>door</b>\nis open."}, now, {}},
         Kind::MachineRefuses,
         "The door is open."},
        {4, true, true, false, {{}, now, now}, Kind::MachineSilent, "The machine has not answered since " + time + "."},
        {4, false, true, false, {{true, {}}, now, {}}, Kind::NothingOnPlate, "There is nothing on the plate."},
        {4, false, true, true, {{true, {}}, now, {}}, Kind::AnotherCommandRuns, "Another command is still running."},
        {1, true, false, false, {{true, {}}, now, {}}, Kind::SwitchedOff, "It is switched off in the settings."},
        {1, true, true, false, {{}, now, now}, Kind::None, ""}, // never asks the machine
        {1, true, true, true, {{}, now, now}, Kind::AnotherCommandRuns, "Another command is still running."},
    };
    const Vexlor::UICommands::ActiveSceneContext context;
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.kind << ' ' << row.text);
        _Offer({row.kind});
        _scene->GetParts().assign(row.hasParts ? 1 : 0, part);
        _host.application.GetSettings().SetDisableBuildButton(!row.allowsBuild);
        PrinterCommandManager manager(
            _getScene,
            [&](VexlorCore::DataSet*) { return Machine(std::make_unique<KnowingStrategy>(*_script, row.known)); },
            _host.GetProviderGetter(), _getText);
        manager.CheckCommands();
        auto* const command = manager.GetAllCommands().front();
        const auto update = [&] {
            command->Update(context);
            command->Update(context); // tells of each change once
            return true;
        };
        QSignalSpy changes(command, &Vexlor::UICommands::UiCommand::Changed);
        if (row.isRunning)
            _host.provider.RunJob(QString(), [&](VexlorCore::IJobProgress&) {
                VexlorCore::UiThread::Invoke([&] { update(); });
                return true;
            });
        else
            update();
        const CommandRefusal refusal = manager.GetRefusal(command->GetId());
        EXPECT_EQ(refusal.kind, row.expected);
        EXPECT_EQ(refusal.GetText().toStdString(), row.text);
        EXPECT_EQ(command->IsEnabled(), row.expected == Kind::None);
        EXPECT_EQ(changes.count(), row.expected == Kind::None ? 0 : 1);
    }
    _host.application.GetSettings().SetDisableBuildButton(false);
}

TEST_F(PrinterCommandManagerTest, BringsBackWhatAListenerTookAwayDuringACheck)
{
    const QString build = QStringLiteral("Print3D.Print");
    const auto taking = QObject::connect(&_manager, &PrinterCommandManager::CommandsAdded, [&](const auto& i_ids) {
        if (!i_ids.contains(build))
            _manager.RemoveCommand(build);
    });
    _manager.CheckCommands();
    EXPECT_EQ(1, _Ids().size());
    QObject::disconnect(taking);
    _manager.CheckCommands();
    EXPECT_EQ(2, _Ids().size());
}

TEST_F(PrinterCommandManagerTest, CheckWithinACheckTakesItsPlace)
{
    const auto checking =
        QObject::connect(&_manager, &PrinterCommandManager::CommandsAdded, [&] { _manager.CheckCommands(); });
    _manager.CheckCommands();
    EXPECT_EQ((Log{"+ Print3D.Print", "+ Print3D.ConfigurPlatform", "name Dr\u00fccker"}), _TakeLog());
    QObject::disconnect(checking);
    // In the middle of the way to another machine, the machine goes.
    QObject::connect(&_manager, &PrinterCommandManager::CommandsRemoved, [&] {
        if (std::exchange(_attached, false))
            _manager.CheckCommands();
    });
    _script->data.id.data[0] = 2;
    _manager.CheckCommands();
    EXPECT_TRUE(_Ids().isEmpty());
    EXPECT_EQ(QString(), _manager.PrinterName());
    EXPECT_EQ("name ", _TakeLog().back());
}

TEST_F(PrinterCommandManagerTest, ListThatNeverComesLeavesTheRibbonEmptyAtOnce)
{
    std::promise<std::vector<CommandDescription>> never;
    _script->getCommands = [&] {
        return never.get_future();
    };
    _manager.CheckCommands();
    EXPECT_EQ((Log{"name Dr\u00fccker"}), _TakeLog());
}

TEST_F(PrinterCommandManagerTest, FailuresReachTheCallerButNotTheEventLoop)
{
    QObject source;
    QObject::connect(&source, &QObject::objectNameChanged, &_manager, &PrinterCommandManager::CheckCommands);
    _Offer({3, 0, 0, 4});
    EXPECT_NO_THROW(source.setObjectName(QStringLiteral("a")));
    EXPECT_EQ(2, _Ids().size()) << "what came before the duplicate stays";
    _script->data.id.data[0] = 3;
    EXPECT_EQ((Failure{ErrorCode::InternalError, "Can't insert BP command for Print3D Command Manager"}),
              GetFailure([this] { _manager.CheckCommands(); }));
    _script->getCommands = []() -> std::future<std::vector<CommandDescription>> {
        throw std::runtime_error("gone");
    };
    EXPECT_THROW(_manager.CheckCommands(), std::runtime_error);
    QMetaObject::invokeMethod(&_manager, "CheckCommands", Qt::QueuedConnection);
    EXPECT_NO_THROW(QCoreApplication::processEvents());
    EXPECT_NO_THROW(_host.application.GetDatabase()->Send(VexlorCore::BPQueueChanged(_scene)));
}

TEST_F(PrinterCommandManagerTest, HearsOfScenesAndPrintersFromTheHost)
{
    auto& database = *_host.application.GetDatabase();
    database.Send(VexlorCore::BPQueueChanged(_scene));
    EXPECT_EQ(2, _Ids().size());
    _scene = nullptr;
    database.SetActiveDataSet(nullptr);
    EXPECT_TRUE(_Ids().isEmpty());
}

TEST_F(PrinterCommandManagerTest, MethodsHaveTheirPublishedOrder)
{
    const QMetaObject& meta = PrinterCommandManager::staticMetaObject;
    std::vector<std::string> methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        methods.push_back(meta.method(index).methodSignature().toStdString());
    EXPECT_EQ((std::vector<std::string>{"PrinterNameUpdated(QString)", "Activated()", "Deactivated()",
                                        "MachineModified(QUuid)", "CheckCommands()", "Activate()", "Deactivate()"}),
              methods);
}

} // namespace
