#include "catalog/PrinterAttachment.h"
#include "commands/CommandsFixture.h"
#include "commands/PrinterCommandManager.h"

#include "vexlorcore/Notifications.h"
#include "vexlorui/ActiveSceneContext.h"
#include "vexlorui/IconUpdater.h"

#include <QByteArray>
#include <QCoreApplication>

namespace {

using namespace TestSupport;

using Vexlor::UICommands::IconUpdater;

/// The manager and a command are destroyed by whatever they call out to. The sanitizers tell what is touched then.
class DestructionTest : public CommandsFixture
{
protected:
    using Manager = PrinterCommandManager;

    DestructionTest()
    {
        const QByteArray icon = QByteArray::fromBase64(
            "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==");
        _Offer({CommandType::ConfigurePlatform, CommandType::Additional});
        _script->commands[1].icon.assign(icon.begin(), icon.end());
        _getText = [this] {
            _Call("text");
            return QString();
        };
        _script->getCommands = [this] {
            _Call("commands");
            return MakeReady(_script->commands);
        };
        _script->canRun = [this](const auto&) {
            _Call("can run");
            return MakeReady(true);
        };
        _script->run = [this](const CommandParameters& i_parameters) {
            VexlorCore::UiThread::Invoke([this] { _Call("run"); });
            return Leave({"a.TavAMX"})(i_parameters);
        };
        const auto step = [this](const char* ip_name) {
            return [this, ip_name] {
                VexlorCore::UiThread::Invoke([&] { _Call(ip_name); });
            };
        };
        _provider.onStart = step("start");
        _provider.onSave = step("save");
        _provider.onLoad = step("load");
        IconUpdater::SetHandler([this](const QString&) { _Call("icon"); });
    }
    ~DestructionTest() override { IconUpdater::SetHandler({}); }

    void _Offer(const std::vector<CommandType>& i_kinds)
    {
        _script->commands.clear();
        for (const CommandType kind : i_kinds)
            _script->commands.push_back(Describe(kind));
    }

    /// Told by everything that is called; the one that the row names destroys.
    void _Call(const char* ip_name)
    {
        if (_where == ip_name && std::exchange(_isArmed, false))
            _manager.reset();
    }

    void _MakeManager()
    {
        const auto getScene = [this] {
            _Call("scene");
            return _scene;
        };
        const auto getMachine = [this](VexlorCore::DataSet*) {
            _Call("machine");
            return _attached ? std::optional(_MakeMachine()) : std::nullopt;
        };
        const auto getProvider = [this]() -> IVexlorApiProvider& {
            _Call("provider");
            return _provider;
        };
        _manager = std::make_unique<Manager>(getScene, getMachine, getProvider, _getText);
        const auto watch = [this](auto ip_signal, const char* ip_name) {
            QObject::connect(_manager.get(), ip_signal, [this, ip_name] { _Call(ip_name); });
        };
        watch(&Manager::BeforeCommandsAdded, "before added");
        watch(&Manager::CommandsAdded, "added");
        watch(&Manager::BeforeCommandsRemoved, "before removed");
        watch(&Manager::CommandsRemoved, "removed");
        watch(&Manager::PrinterNameUpdated, "name");
        watch(&Manager::Activated, "activated");
        watch(&Manager::Deactivated, "deactivated");
    }

    std::unique_ptr<Manager> _manager;
    std::string _where;
    bool _isArmed = false;
    bool _attached = true;
};

struct ManagerRow
{
    const char* name;
    std::function<void(PrinterCommandManager&)> act;
    std::vector<const char*> calls;
};

TEST_F(DestructionTest, OfTheManagerInWhateverItCalls)
{
    auto& database = *_host.application.GetDatabase();
    const auto show = [](PrinterCommandManager& io_manager) {
        io_manager.CheckCommands();
    };
    const ManagerRow rows[] = {
        {"first check", show, {"scene", "machine", "commands", "before added", "added", "icon", "name"}},
        {"activation", [](auto& io_manager) { io_manager.Activate(); }, {"activated", "scene", "added", "name"}},
        {"deactivation", [](auto& io_manager) { io_manager.Deactivate(); }, {"deactivated"}},
        {"notification",
         [&](auto&) { database.Send(VexlorCore::BPQueueChanged(_scene)); },
         {"machine", "added", "name"}},
        {"queued check",
         [](auto& io_manager) {
             QMetaObject::invokeMethod(&io_manager, "CheckCommands", Qt::QueuedConnection);
             QCoreApplication::processEvents();
         },
         {"scene", "added", "name"}},
        {"other commands",
         [&](auto& io_manager) {
             _Offer({CommandType::ConfigureParts});
             io_manager.CheckCommands();
         },
         {"before removed", "removed", "icon", "added", "name"}},
        {"other machine",
         [&](auto& io_manager) {
             ++_script->data.id.data[0];
             io_manager.MachineModified(QUuid());
             io_manager.CheckCommands();
         },
         {"before removed", "removed", "icon", "added", "name"}},
        {"no machine",
         [&](auto& io_manager) {
             _attached = false;
             io_manager.CheckCommands();
         },
         {"before removed", "removed", "icon", "name"}},
    };
    const auto offered = _script->commands;
    for (const ManagerRow& row : rows)
        for (const char* const call : row.calls) {
            SCOPED_TRACE(std::string(row.name) + ": " + call);
            _script->commands = offered;
            _attached = true;
            _MakeManager();
            if (&row >= &rows[5])
                show(*_manager);
            _where = call;
            _isArmed = true;
            row.act(*_manager);
            EXPECT_FALSE(_isArmed) << "not called";
            EXPECT_FALSE(_manager);
        }
}

TEST_F(DestructionTest, OfTheManagerWhileOneOfItsCommandsIsAskedOrRuns)
{
    for (const char* const call : {"can run", "provider", "scene", "text", "start", "save", "run", "load"}) {
        SCOPED_TRACE(call);
        _MakeManager();
        _manager->CheckCommands();
        auto* const command = _manager->GetCommand(Utilities::GetDynamicCommandName(Describe({}).id));
        ASSERT_TRUE(command);
        _where = call;
        _isArmed = true;
        if (call == std::string("can run"))
            command->Update(Vexlor::UICommands::ActiveSceneContext());
        else
            EXPECT_TRUE(command->Exec());
        EXPECT_FALSE(_isArmed) << "not called";
        EXPECT_FALSE(_manager);
        EXPECT_TRUE(_messages.empty());
    }
}

TEST_F(DestructionTest, OfACommandByItsOwner)
{
    std::unique_ptr<PrinterCommand> command;
    const auto make = [&] {
        command = std::make_unique<PrinterCommand>(
            QStringLiteral("id"), QStringList(), QString(),
            [&] {
                command.reset();
                return true;
            },
            [&](const auto&) {
                command.reset();
                return false;
            });
    };
    make();
    EXPECT_TRUE(command->Exec());
    EXPECT_FALSE(command);
    make();
    command->Update(Vexlor::UICommands::ActiveSceneContext());
    EXPECT_FALSE(command);
    make();
    QObject::connect(command.get(), &PrinterCommand::Changed, [&] { command.reset(); });
    command->SetTitle(QStringLiteral("title"));
    EXPECT_FALSE(command);
}

} // namespace
