#include "commands/PrinterCommandManager.h"

#include "client/interface/CommunicationException.h"
#include "commands/CommandTexts.h"
#include "commands/PrinterCommandCatalog.h"

#include "vexlorcore/Application.h"
#include "vexlorcore/Listener.h"
#include "vexlorcore/Notifications.h"
#include "vexlorui/IconUpdater.h"

#include <QIcon>
#include <QLoggingCategory>

#include <boost/uuid/string_generator.hpp>

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>
#include <vector>

namespace MachineService {

namespace {

Q_LOGGING_CATEGORY(ManagerLog, "machineservice.commands.manager")

constexpr std::size_t MaxPrinterNameLength = 200;

/// For calls by those who expect no exception of ours.
template <class Function>
void StopExceptions(const Function& i_function)
{
    try {
        i_function();
    } catch (const std::exception& exception) {
        qCWarning(ManagerLog) << "The commands of the printer could not be checked:" << exception.what();
    } catch (...) {
        qCWarning(ManagerLog) << "The commands of the printer could not be checked.";
    }
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
    CommandGetters getters;
    std::function<std::optional<Machine>(VexlorCore::DataSet*)> getMachine;
    QString printerName;
    boost::uuids::uuid machineId = {}; // nil while no commands are shown
    std::unique_ptr<Listener> listener;

    // The commands that the last check left in the storage, by what their names are made of; empty once anybody changed
    // the storage. Most checks find everything as it was and need not make names.
    struct Shown
    {
        CommandType type;
        boost::uuids::uuid id;
    };
    std::optional<std::vector<Shown>> shown;
    bool shownConnection = false;

    bool IsShown(const std::vector<CommandDescription>& i_offered, const MachineData& i_data) const
    {
        return shown && shownConnection == i_data.configuresConnection &&
               std::equal(i_offered.begin(), i_offered.end(), shown->begin(), shown->end(),
                          [](const CommandDescription& i_command, const Shown& i_shown) {
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

PrinterCommandManager::PrinterCommandManager(std::function<VexlorCore::DataSet*()> i_get_data_set,
                                             std::function<std::optional<Machine>(VexlorCore::DataSet*)> i_get_machine,
                                             std::function<IVexlorApiProvider&()> i_get_api_provider,
                                             std::function<QString()> i_get_text, QObject* ip_parent)
    : BaseCommandsStorage(ip_parent)
    , _impl(std::make_unique<Impl>())
{
    _impl->getters = {std::move(i_get_data_set), std::move(i_get_api_provider), std::move(i_get_text)};
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
    bool is_handled = true;
    StopExceptions([&] { is_handled = BaseCommandsStorage::event(ip_event); });
    return is_handled;
}

QString PrinterCommandManager::PrinterName() const
{
    return _impl->printerName;
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
    Q_EMIT Activated();
    _CheckAndTell();
}

void PrinterCommandManager::Deactivate()
{
    Q_EMIT Deactivated();
}

void PrinterCommandManager::_CheckAndTell()
{
    const auto check = [this] {
        if (_CheckCommands())
            Q_EMIT PrinterNameUpdated(_impl->printerName);
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
    const std::optional<Machine> machine = _impl->getMachine(_impl->getters.dataSet());
    const MachineData data = machine ? machine->GetMachineData() : MachineData();
    // A machine with the nil id counts as no machine.
    if (data.id.is_nil()) {
        if (_impl->machineId.is_nil())
            return false;
        _impl->machineId = {};
        _Clear();
        _impl->printerName.clear();
        return true;
    }

    _impl->printerName = ToDisplayText(data.name, MaxPrinterNameLength);
    if (data.id != _impl->machineId) {
        _impl->machineId = data.id;
        _Clear();
    }

    const std::vector<CommandDescription> offered = GetKnownCommands(*machine);
    if (_impl->IsShown(offered, data))
        return true;
    std::vector<QString> names;
    names.reserve(offered.size());
    for (const CommandDescription& description : offered)
        names.push_back(GetCommandName(description, data).value_or(QString()));
    _RemoveAllBut(QSet<QString>(names.begin(), names.end()));

    // Only what is missing is built; asked after the removals, of which listeners hear.
    std::vector<const CommandDescription*> missing;
    for (std::size_t index = 0; index < offered.size(); ++index) {
        if (!GetCommand(names[index]))
            missing.push_back(&offered[index]);
    }
    for (const CommandDescription* const description : missing) {
        std::shared_ptr<PrinterCommand> command = CreatePrinterCommand(*description, *machine, _impl->getters);
        command->moveToThread(thread());
        if (!AddCommand(std::move(command)))
            throw CommunicationException(ErrorCode::InternalError,
                                         "Can't insert BP command for Print3D Command Manager");
    }
    _impl->Remember(offered, data);
    return true;
}

void PrinterCommandManager::_RemoveAllBut(const QSet<QString>& i_names)
{
    // Names, because listeners of a removal may remove others.
    for (const QString& name : GetContainer().GetIds() - i_names) {
        RemoveCommand(name);
        Vexlor::UICommands::IconUpdater::RegisterIcon(name, QIcon());
    }
}

void PrinterCommandManager::_Clear()
{
    const QSet<QString> ids = GetContainer().GetIds();
    if (ids.isEmpty())
        return;
    // Once for all of them, not once more for what the container announces.
    Q_EMIT BeforeCommandsRemoved(ids);
    {
        const Vexlor::UICommands::BaseCommandsStorageScopedSignalBlocker blocker(_GetBlockDepth());
        Clear();
    }
    for (const QString& id : ids)
        Vexlor::UICommands::IconUpdater::RegisterIcon(id, QIcon());
    Q_EMIT CommandsRemoved(ids);
}

} // namespace MachineService
