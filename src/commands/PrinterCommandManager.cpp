#include "commands/PrinterCommandManager.h"

#include "client/interface/CommunicationException.h"
#include "commands/CommandTexts.h"
#include "commands/PrinterCommandCatalog.h"

#include "tavsdk/StopExceptions.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/Listener.h"
#include "vexlorcore/Notifications.h"
#include "vexlorui/IconUpdater.h"

#include <QIcon>
#include <QLoggingCategory>
#include <QPointer>

#include <boost/uuid/string_generator.hpp>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace MachineService {

namespace {

Q_LOGGING_CATEGORY(ManagerLog, "machineservice.commands.manager")

constexpr int MaxPrinterNameLength = 200;

/// For calls by those who expect no exception of ours.
template <class Function>
void StopExceptions(const Function& i_function)
{
    TavSDK::StopExceptions(i_function, [](const char* ip_why) {
        qCWarning(ManagerLog, "The commands of the printer could not be checked: %s", ip_why);
    });
}

} // namespace

/// Hears of scenes and their printers.
class PrinterCommandManager::Listener final : public VexlorCore::MListener
{
public:
    explicit Listener(PrinterCommandManager& io_manager)
        : _manager(io_manager)
    {
        const VexlorCore::Application* const application = VexlorCore::Application::GetInstance();
        if (application && application->GetDatabase()) {
            application->GetDatabase()->AddListener(this);
            StartListening();
        }
    }

protected:
    void ExecuteSelf(const VexlorCore::INotification& i_notification) override
    {
        if (dynamic_cast<const VexlorCore::DataSetActivated*>(&i_notification) ||
            dynamic_cast<const VexlorCore::BPQueueChanged*>(&i_notification) ||
            dynamic_cast<const VexlorCore::BPPlatformDetached*>(&i_notification))
            _manager._DoOnNotify();
    }

private:
    PrinterCommandManager& _manager;
};

struct PrinterCommandManager::Impl
{
    HostContext host;
    std::function<std::optional<Machine>(VexlorCore::DataSet*)> getMachine;
    QString printerName;
    boost::uuids::uuid machineId = {}; // nil while no commands are shown
    std::unique_ptr<Listener> listener;
    int checks = 0; // begun so far

    // The commands that the last check left in the storage, by what their names are made of; empty once anybody changed
    // the storage. Most checks find everything as it was and need not make names.
    struct ShownCommand
    {
        CommandType type;
        boost::uuids::uuid id;
    };
    std::optional<std::vector<ShownCommand>> shown;
    bool shownConnection = false;

    bool IsShown(const std::vector<CommandDescription>& i_offered, const MachineData& i_data) const
    {
        return shown && shownConnection == i_data.configuresConnection &&
               std::equal(i_offered.begin(), i_offered.end(), shown->begin(), shown->end(),
                          [](const CommandDescription& i_command, const ShownCommand& i_shown) {
                              return i_command.type == i_shown.type && i_command.id == i_shown.id;
                          });
    }

    void Remember(const std::vector<CommandDescription>& i_offered, const MachineData& i_data)
    {
        shown.emplace();
        shown->reserve(i_offered.size());
        for (const CommandDescription& command : i_offered)
            shown->push_back({command.type, command.id});
        shownConnection = i_data.configuresConnection;
    }
};

/// One check, which is over when another one has begun in the middle of it: that one has seen the later state. It is
/// over as well when the manager is gone.
class PrinterCommandManager::Check
{
public:
    explicit Check(PrinterCommandManager& io_manager)
        : _manager(&io_manager)
        , _number(++io_manager._impl->checks)
    {}
    bool IsOver() const { return !_manager || _manager->_impl->checks != _number; }

private:
    const QPointer<PrinterCommandManager> _manager;
    const int _number;
};

PrinterCommandManager::PrinterCommandManager(std::function<VexlorCore::DataSet*()> i_get_data_set,
                                             std::function<std::optional<Machine>(VexlorCore::DataSet*)> i_get_machine,
                                             VexlorCore::ApiProviderGetter i_get_api_provider,
                                             std::function<QString()> i_get_text, QObject* ip_parent)
    : BaseCommandsStorage(ip_parent)
    , _impl(std::make_unique<Impl>())
{
    _impl->host = {std::move(i_get_data_set), std::move(i_get_api_provider), std::move(i_get_text)};
    _impl->getMachine = std::move(i_get_machine);
    _impl->listener = std::make_unique<Listener>(*this);

    const auto forget = [this] {
        _impl->shown.reset();
    };
    using Vexlor::UICommands::ICommandsContainer;
    connect(&GetContainer(), &ICommandsContainer::CommandsAdded, this, forget);
    connect(&GetContainer(), &ICommandsContainer::CommandsRemoved, this, forget);
}

PrinterCommandManager::~PrinterCommandManager()
{
    for (const Vexlor::UICommands::UiCommand* const command : GetAllCommands())
        Vexlor::UICommands::IconUpdater::RegisterIcon(command->GetId(), QIcon());
}

bool PrinterCommandManager::event(QEvent* ip_event)
{
    // Queued calls of the slots come through here, some of them without a sender: it may be gone by now. What they
    // throw would end the host's event loop.
    bool isHandled = true;
    StopExceptions([&] { isHandled = BaseCommandsStorage::event(ip_event); });
    return isHandled;
}

QString PrinterCommandManager::PrinterName() const
{
    return _impl->printerName;
}

CommandRefusal PrinterCommandManager::GetRefusal(const QString& i_id) const
{
    const auto* const command = qobject_cast<const PrinterCommand*>(GetCommand(i_id));
    return command ? command->GetRefusal() : CommandRefusal();
}

void PrinterCommandManager::InitProductFeatures(const QSet<QString>&, const QMap<QString, QStringList>&) {}

void PrinterCommandManager::MachineModified(QUuid i_id)
{
    if (_impl->machineId.is_nil())
        return;
    const std::string text = i_id.toString(QUuid::WithoutBraces).toStdString();
    if (boost::uuids::string_generator()(text) == _impl->machineId)
        _CheckAndTell();
}

void PrinterCommandManager::CheckCommands()
{
    _CheckAndTell();
}

void PrinterCommandManager::Activate()
{
    const QPointer<PrinterCommandManager> alive(this);
    Q_EMIT Activated();
    if (alive)
        _CheckAndTell();
}

void PrinterCommandManager::Deactivate()
{
    Q_EMIT Deactivated();
}

void PrinterCommandManager::_CheckAndTell()
{
    // Whoever is asked or told of something in a check may check again itself, or destroy the manager.
    const auto check = [this] {
        const QPointer<PrinterCommandManager> alive(this);
        const bool hasChanged = _CheckCommands();
        if (alive && hasChanged)
            Q_EMIT PrinterNameUpdated(QString(_impl->printerName));
    };
    // A caller can handle an exception; whoever raises a signal knows nothing of this manager.
    if (sender())
        StopExceptions(check);
    else
        check();
}

void PrinterCommandManager::_DoOnNotify()
{
    StopExceptions([this] { _CheckAndTell(); });
}

bool PrinterCommandManager::_CheckCommands()
{
    const Check check(*this);
    // Copies: what is called may destroy the manager.
    const auto getDataSet = _impl->host.dataSet;
    const auto getMachine = _impl->getMachine;
    const std::optional<Machine> machine = getMachine(getDataSet());
    const MachineData data = machine ? machine->GetMachineData() : MachineData();
    if (check.IsOver())
        return false;
    // A machine with the nil id counts as no machine.
    if (data.id.is_nil()) {
        if (_impl->machineId.is_nil())
            return false;
        _impl->machineId = {};
        _Clear();
        if (!check.IsOver())
            _impl->printerName.clear();
        return !check.IsOver();
    }

    _impl->printerName = ToDisplayText(data.name, MaxPrinterNameLength);
    if (std::exchange(_impl->machineId, data.id) != data.id)
        _Clear();
    const std::vector<CommandDescription> offered = GetKnownCommands(*machine);
    if (!check.IsOver() && !_impl->IsShown(offered, data))
        _Show(offered, *machine, data, check);
    return !check.IsOver();
}

void PrinterCommandManager::_Show(const std::vector<CommandDescription>& i_offered, const Machine& i_machine,
                                  const MachineData& i_data, const Check& i_check)
{
    std::vector<QString> names;
    names.reserve(i_offered.size());
    for (const CommandDescription& description : i_offered)
        names.push_back(GetCommandName(description, i_data).value_or(QString()));
    const QSet<QString> ids(names.begin(), names.end());
    // One by one, because listeners of a removal may remove others.
    for (const QString& id : GetContainer().GetIds() - ids) {
        RemoveCommand(id);
        Vexlor::UICommands::IconUpdater::RegisterIcon(id, QIcon());
        if (i_check.IsOver())
            return;
    }

    // Only what is missing is built; asked after the removals, of which listeners hear.
    std::vector<const CommandDescription*> missing;
    for (std::size_t index = 0; index < i_offered.size(); ++index) {
        if (!GetCommand(names[index]))
            missing.push_back(&i_offered[index]);
    }
    for (const CommandDescription* const description : missing) {
        std::shared_ptr<PrinterCommand> command = CreatePrinterCommand(*description, i_machine, _impl->host);
        if (i_check.IsOver())
            return;
        command->moveToThread(thread());
        const bool isAdded = AddCommand(std::move(command));
        if (i_check.IsOver())
            return;
        if (!isAdded)
            throw CommunicationException(ErrorCode::InternalError,
                                         "Can't insert BP command for Print3D Command Manager");
    }
    // A listener may have taken away what is offered: the next check brings it back.
    if (GetContainer().GetIds() == ids)
        _impl->Remember(i_offered, i_data);
}

void PrinterCommandManager::_Clear()
{
    const QSet<QString> ids = GetContainer().GetIds();
    if (ids.isEmpty())
        return;
    const QPointer<PrinterCommandManager> alive(this);
    // Once for all of them, not once more for what the container announces.
    Q_EMIT BeforeCommandsRemoved(ids);
    if (alive) {
        const Vexlor::UICommands::BaseCommandsStorageScopedSignalBlocker blocker(_GetBlockDepth());
        Clear();
    }
    for (const QString& id : ids)
        Vexlor::UICommands::IconUpdater::RegisterIcon(id, QIcon());
    if (alive)
        Q_EMIT CommandsRemoved(ids);
}

} // namespace MachineService
