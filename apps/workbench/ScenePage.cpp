#include "workbench/ScenePage.h"

#include "workbench/PartsPanel.h"
#include "workbench/base/LengthText.h"
#include "workbench/base/Preferences.h"
#include "workbench/look/ElidedLabel.h"
#include "workbench/look/LineIcon.h"
#include "workbench/look/MachinePicture.h"
#include "workbench/plate/NumbersPanel.h"
#include "workbench/plate/PlateView.h"
#include "workbench/plate/ProblemsPanel.h"

#include "client/interface/Machine.h"
#include "hosting/Estimates.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QTabWidget>
#include <QVBoxLayout>

namespace Workbench {

namespace {

constexpr int PictureSize = 28;

/// A machine's number as the user writes numbers; any other text as it stands.
QString ToLocal(const QString& i_number)
{
    bool isNumber = false;
    const double number = i_number.toDouble(&isNumber);
    const int point = i_number.indexOf(QLatin1Char('.'));
    return isNumber ? QLocale().toString(number, 'f', point < 0 ? 0 : i_number.size() - point - 1) : i_number;
}

/// "2 h 5 min" of a number of seconds as text.
QString ToDuration(const QString& i_seconds)
{
    bool isNumber = false;
    const qint64 seconds = static_cast<qint64>(i_seconds.toDouble(&isNumber));
    if (!isNumber)
        return i_seconds;
    if (seconds < 3600)
        return ScenePage::tr("%1 min").arg((seconds + 59) / 60);
    return ScenePage::tr("%1 h %2 min").arg(seconds / 3600).arg(seconds % 3600 / 60);
}

} // namespace

ScenePage::ScenePage(VexlorCore::DataSet& io_scene, const Preferences& i_preferences, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _scene(io_scene)
    , _preferences(i_preferences)
    , _selection(io_scene)
    , _plate(new PlateView(io_scene, _selection, this))
    , _picture(new QLabel(this))
    , _machine(new ElidedLabel(this))
    , _estimates(new ElidedLabel(this))
    , _choose(new QPushButton(MakeLineIcon(QStringLiteral("machine")), QString(), this))
    , _platform(new QPushButton(MakeLineIcon(QStringLiteral("platform")), QString(), this))
    , _side(new QWidget(this))
    , _parts(new PartsPanel(io_scene, _selection))
    , _sideTabs(nullptr)
{
    auto* const strip = new QHBoxLayout;
    strip->setContentsMargins(10, 6, 10, 6);
    strip->setSpacing(10);
    _estimates->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    _estimates->setForegroundRole(QPalette::PlaceholderText);
    strip->addWidget(_picture);
    strip->addWidget(_machine, 1);
    strip->addWidget(_estimates);
    strip->addWidget(_choose);
    strip->addWidget(_platform);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(strip);
    column->addWidget(_plate, 1);

    auto* const problems = new ProblemsPanel(*_plate);
    auto* const splitter = new QSplitter(Qt::Vertical, _side);
    splitter->setChildrenCollapsible(false);
    _sideTabs = new QTabWidget(splitter);
    _sideTabs->setDocumentMode(true);
    _sideTabs->addTab(_parts, QString());
    _sideTabs->addTab(problems, QString());
    splitter->addWidget(_sideTabs);
    // Scrolls where the window is low.
    auto* const numbers = new QScrollArea(splitter);
    numbers->setFrameShape(QFrame::NoFrame);
    numbers->setWidgetResizable(true);
    numbers->setFocusPolicy(Qt::NoFocus);
    numbers->setWidget(new NumbersPanel(_plate->GetModel()));
    splitter->addWidget(numbers);
    splitter->setStretchFactor(0, 1);
    auto* const side = new QVBoxLayout(_side);
    side->setContentsMargins(0, 0, 0, 0);
    side->addWidget(splitter);
    _side->hide();

    connect(problems, &ProblemsPanel::CountChanged, this, &ScenePage::_SetTexts);
    connect(_choose, &QPushButton::clicked, this, &ScenePage::ChooseMachineWanted);
    connect(_platform, &QPushButton::clicked, this, &ScenePage::NewPlatformWanted);
    _SetTexts();
}

ScenePage::~ScenePage()
{
    // Both look at the selection, and the side at the plate.
    delete _side;
    delete _plate;
}

void ScenePage::Show(const MachineService::Machine* ip_machine, bool i_is_gone, const QString& i_machine_name)
{
    QPixmap picture;
    if (ip_machine) {
        const auto machine = ip_machine->GetMachineData();
        picture = DecodePicture(machine.picture.GetBytes());
        _machineText = QString::fromStdString(machine.name).simplified();
        if (const auto& volume = machine.buildVolume) {
            _machineText =
                tr("%1, %2").arg(_machineText, LengthText::ShowVolume(volume->isCircular, volume->maxX - volume->minX,
                                                                      volume->maxY - volume->minY, volume->height));
        }
    } else if (i_is_gone) {
        _machineText = tr("%1 is gone: nothing can be sent to it until it comes back.").arg(i_machine_name);
    } else {
        _machineText = tr("No machine chosen yet");
    }
    if (picture.isNull())
        picture = MakeLineIcon(QStringLiteral("machine")).pixmap(PictureSize, PictureSize, QIcon::Disabled);
    _picture->setPixmap(picture.scaled(PictureSize, PictureSize, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    _machine->setText(_machineText);
    _choose->setVisible(!ip_machine);
    _platform->setVisible(ip_machine != nullptr);
    _ShowEstimates();
    _parts->Fill();
}

void ScenePage::SetEstimatesOld(bool i_are_old)
{
    _areEstimatesOld = i_are_old;
    _ShowEstimates();
}

void ScenePage::_ShowEstimates()
{
    const auto estimates = Hosting::ReadEstimates(_scene.GetPlatform());
    QStringList texts;
    if (estimates) {
        if (!estimates->layers.isEmpty())
            texts << tr("%1 layers").arg(estimates->layers);
        if (!estimates->seconds.isEmpty())
            texts << ToDuration(estimates->seconds);
        if (!estimates->cubicCentimetres.isEmpty())
            texts << tr("%1 cm³").arg(ToLocal(estimates->cubicCentimetres));
        if (!estimates->grams.isEmpty())
            texts << tr("%1 g").arg(ToLocal(estimates->grams));
        if (const double cost = estimates->grams.toDouble() / 1000 * _preferences.GetPricePerKilogram(); cost > 0)
            texts << QLocale().toCurrencyString(cost);
    }
    QString text = texts.join(QStringLiteral(" · "));
    if (_areEstimatesOld && !text.isEmpty())
        text = tr("Out of date: %1").arg(text);
    _estimates->setText(text);
    _estimates->setVisible(!text.isEmpty());
    _estimates->setAccessibleName(text.isEmpty() ? tr("No estimates yet") : text);
}

void ScenePage::changeEvent(QEvent* ip_event)
{
    QWidget::changeEvent(ip_event);
    if (ip_event->type() == QEvent::LanguageChange)
        _SetTexts();
}

void ScenePage::_SetTexts()
{
    _choose->setText(tr("Choose a machine"));
    _platform->setText(tr("New platform…"));
    _platform->setToolTip(tr("Material, layer height and what else the machine offers."));
    if (!_sideTabs)
        return;
    const int problems = qobject_cast<ProblemsPanel*>(_sideTabs->widget(1))->GetCount();
    _sideTabs->setAccessibleName(tr("Parts and problems"));
    _sideTabs->setTabText(0, tr("Parts"));
    _sideTabs->setTabText(1, problems > 0 ? tr("Problems (%1)").arg(problems) : tr("Problems"));
}

} // namespace Workbench
