#include "workbench/ribbon/PrinterRibbon.h"

#include "workbench/look/LineIcon.h"
#include "workbench/ribbon/CommandButton.h"

#include "commands/CommandNames.h"
#include "hosting/Host.h"
#include "tavsdk/StopExceptions.h"
#include "vexlorui/IconUpdater.h"

#include <QEvent>
#include <QLabel>
#include <QLoggingCategory>

namespace Workbench {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.workbench.ribbon")

constexpr int UpdateInterval = 500; ///< ms
constexpr char IdProperty[] = "commandId";

struct Face
{
    const char* id;
    const char* icon;
    const char* shortcut;
};

/// What the host gives to the commands that it knows.
const Face* FindFace(const QString& i_id)
{
    using namespace MachineService;
    static const Face faces[] = {
        {BPCommandNameBuild, "build", "Ctrl+B"},
        {BPCommandNamePostJob, "build", "Ctrl+B"},
        {BPCommandNameCreateJobUrl, "send", "Ctrl+J"},
        {BPCommandNameConfigure, "configure", "Ctrl+Shift+P"},
        {BPCommandNameConfigureConnection, "connection", "Ctrl+Shift+P"},
        {BPCommandNameConfigurPlatform, "platform", "Ctrl+Shift+L"},
        {BPCommandNameConfigureParts, "parts", "Ctrl+Shift+T"},
        {BPCommandNamePrintConsumptionEstimations, "estimate", "Ctrl+E"},
        {BPCommandNameAutomaticPlacement, "place", "Ctrl+L"},
    };
    for (const Face& face : faces) {
        if (i_id == QLatin1String(face.id))
            return &face;
    }
    return nullptr;
}

} // namespace

PrinterRibbon::PrinterRibbon(Hosting::Host& io_host, Run i_run, QWidget* ip_parent)
    : QToolBar(ip_parent)
    , _host(io_host)
    , _run(std::move(i_run))
{
    setObjectName(QStringLiteral("printerRibbon"));
    setMovable(false);
    setFloatable(false);
    _timer.setInterval(UpdateInterval);
    connect(&_timer, &QTimer::timeout, this, &PrinterRibbon::UpdateCommands);
    _rebuild.setSingleShot(true);
    connect(&_rebuild, &QTimer::timeout, this, &PrinterRibbon::_Build);
    connect(&io_host.GetClient(), &MachineService::CommunicationClient::MachinesChanged, this,
            [this] { _manager->CheckCommands(); });
    connect(&io_host.GetClient(), &MachineService::CommunicationClient::MachineModified, this,
            [this](const QUuid& i_id) { _manager->MachineModified(i_id); });
    // When an answer changed.
    _host.GetApiProvider().SetUpdateCommandsHandler([this] { UpdateCommands(); });
    _MakeManager();
}

PrinterRibbon::~PrinterRibbon()
{
    _host.GetApiProvider().SetUpdateCommandsHandler({});
}

void PrinterRibbon::_MakeManager()
{
    _model.reset();
    _manager = std::make_unique<MachineService::PrinterCommandManager>(
        [this] { return _host.GetDatabase().GetActiveDataSet(); },
        [this](VexlorCore::DataSet* ip_scene) { return _host.GetClient().TryGetPrinter(ip_scene); },
        _host.GetApiProviderGetter(), [] { return QString(); });
    _model = std::make_unique<Hosting::RibbonModel>(*_manager);
    const auto rebuild = [this] {
        _rebuild.start(0);
    };
    connect(&_model->GetModel(), &QAbstractItemModel::rowsInserted, this, rebuild);
    connect(&_model->GetModel(), &QAbstractItemModel::rowsRemoved, this, rebuild);
    connect(_manager.get(), &MachineService::PrinterCommandManager::PrinterNameUpdated, this, rebuild);
    TavSDK::StopExceptions(
        [this] { _manager->Activate(); },
        [](const char* ip_why) { qCWarning(log, "The printer's commands are not shown: %s", ip_why); });
    _Build();
}

void PrinterRibbon::Renew()
{
    // Titles are made with the commands, so that another language needs other ones.
    _MakeManager();
}

void PrinterRibbon::_Build()
{
    const auto rows = _model->GetRows();
    QStringList ids;
    for (const auto& row : rows)
        ids << row.command->GetId();
    QStringList shown;
    for (const CommandButton* const button : qAsConst(_buttons))
        shown << button->property(IdProperty).toString();
    // A button that stays keeps the focus.
    if (ids != shown) {
        clear();
        qDeleteAll(std::exchange(_buttons, {}));
        for (const auto& row : rows) {
            auto* const button = new CommandButton(this);
            const QString id = row.command->GetId();
            button->setProperty(IdProperty, id);
            button->setObjectName(id);
            button->setShortcut(GetShortcut(id));
            // By its id: what is run may be replaced meanwhile.
            connect(
                button, &CommandButton::Triggered, this, [this, id] { _run(id); }, Qt::QueuedConnection);
            connect(button, &CommandButton::RefusalShown, this, &PrinterRibbon::RefusalShown);
            addWidget(button);
            _buttons << button;
        }
    }
    for (const auto& row : rows) {
        if (auto* const button = FindButton(row.command->GetId())) {
            _Show(*button, row.command->GetId());
            disconnect(row.command, &Vexlor::UICommands::UiCommand::Changed, button, nullptr);
            connect(row.command, &Vexlor::UICommands::UiCommand::Changed, button,
                    [this, button, id = row.command->GetId()] { _Show(*button, id); });
        }
    }
    setVisible(!_buttons.isEmpty());
    setAccessibleName(tr("Commands of %1").arg(_manager->PrinterName()));
    setWindowTitle(tr("Printer commands"));
    UpdateCommands();
}

void PrinterRibbon::_Show(CommandButton& io_button, const QString& i_id)
{
    const auto* const command = _manager->GetCommand(i_id);
    if (!command)
        return;
    QString tip = command->GetToolTip();
    if (const QKeySequence keys = GetShortcut(i_id); !keys.isEmpty())
        tip += QStringLiteral(" (%1)").arg(keys.toString(QKeySequence::NativeText));
    io_button.SetTexts(command->GetTitle(), tip);
    io_button.setIcon(GetIcon(*command));
    io_button.SetRefusal(command->IsEnabled() ? QString() : _manager->GetRefusal(i_id).GetText());
}

CommandButton* PrinterRibbon::FindButton(const QString& i_id) const
{
    for (CommandButton* const button : _buttons) {
        if (button->property(IdProperty).toString() == i_id)
            return button;
    }
    return nullptr;
}

QIcon PrinterRibbon::GetIcon(const Vexlor::UICommands::UiCommand& i_command)
{
    if (const QIcon own = Vexlor::UICommands::IconUpdater::GetIcon(i_command.GetId()); !own.isNull())
        return own;
    const Face* const face = FindFace(i_command.GetId());
    return MakeLineIcon(QLatin1String(face ? face->icon : "other"));
}

QKeySequence PrinterRibbon::GetShortcut(const QString& i_id)
{
    const Face* const face = FindFace(i_id);
    return face ? QKeySequence(QLatin1String(face->shortcut)) : QKeySequence();
}

void PrinterRibbon::UpdateCommands()
{
    _model->UpdateCommands();
}

void PrinterRibbon::showEvent(QShowEvent* ip_event)
{
    QToolBar::showEvent(ip_event);
    UpdateCommands();
    _timer.start();
}

void PrinterRibbon::hideEvent(QHideEvent* ip_event)
{
    QToolBar::hideEvent(ip_event);
    _timer.stop();
}

void PrinterRibbon::changeEvent(QEvent* ip_event)
{
    QToolBar::changeEvent(ip_event);
    if (ip_event->type() == QEvent::LanguageChange)
        Renew();
}

} // namespace Workbench
