#include "workbench/settings/SettingsDialog.h"

#include "workbench/base/Preferences.h"
#include "workbench/look/ElidedLabel.h"
#include "workbench/settings/KeptResults.h"

#include "tavsdk/Path.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

namespace Workbench {

SettingsDialog::SettingsDialog(Preferences& io_preferences, ProgramFolders i_folders, QWidget* ip_parent)
    : QDialog(ip_parent)
    , _preferences(io_preferences)
    , _folders(std::move(i_folders))
{
    new QVBoxLayout(this);
    resize(560, 420);
    _Fill();
}

void SettingsDialog::changeEvent(QEvent* ip_event)
{
    QDialog::changeEvent(ip_event);
    // Later: what has the focus is one of those that are made anew.
    if (ip_event->type() == QEvent::LanguageChange)
        QMetaObject::invokeMethod(
            this, [this] { _Fill(); }, Qt::QueuedConnection);
}

void SettingsDialog::_Fill()
{
    const QString focus = focusWidget() ? focusWidget()->objectName() : QString();
    delete std::exchange(_content, new QWidget(this));
    setWindowTitle(tr("Settings"));
    auto* const column = new QVBoxLayout(_content);
    column->setContentsMargins(0, 0, 0, 0);
    auto* const form = new QFormLayout;
    form->setVerticalSpacing(10);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    column->addLayout(form);
    _AddLook(*form);
    _AddEstimates(*form);
    _AddFolders(*form);
    _AddLog(*form);
    auto* const buttons = new QDialogButtonBox(_content);
    buttons->addButton(tr("Close"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    column->addStretch(1);
    column->addWidget(buttons);
    layout()->addWidget(_content);
    if (auto* const former = focus.isEmpty() ? nullptr : findChild<QWidget*>(focus))
        former->setFocus();
    _Measure();
}

void SettingsDialog::_AddLook(QFormLayout& io_form)
{
    const auto add = [&](const QString& i_title, const char* ip_name, const QStringList& i_choices, int i_chosen,
                         auto i_choose) {
        auto* const box = new QComboBox(_content);
        box->setObjectName(QLatin1String(ip_name));
        box->setAccessibleName(i_title);
        box->addItems(i_choices);
        box->setCurrentIndex(qMax(0, i_chosen));
        connect(box, qOverload<int>(&QComboBox::activated), this, i_choose);
        io_form.addRow(i_title, box);
    };
    static const QStringList languages{QString(), QStringLiteral("en"), QStringLiteral("de")};
    add(tr("Language"), "language", {tr("As the desktop"), QStringLiteral("English"), QStringLiteral("Deutsch")},
        languages.indexOf(_preferences.GetLanguage()),
        [this](int i_index) { _preferences.SetLanguage(languages[i_index]); });
    add(tr("Colours"), "colours", {tr("As the desktop"), tr("Light"), tr("Dark")},
        static_cast<int>(_preferences.GetTheme()),
        [this](int i_index) { _preferences.SetTheme(static_cast<Theme>(i_index)); });
    add(tr("Lengths"), "lengths", {tr("Millimetres"), tr("Inches (files stay in millimetres)")},
        static_cast<int>(_preferences.GetLengthUnit()),
        [this](int i_index) { _preferences.SetLengthUnit(static_cast<LengthUnit>(i_index)); });
}

void SettingsDialog::_AddEstimates(QFormLayout& io_form)
{
    auto* const price = new QDoubleSpinBox(_content);
    price->setObjectName(QStringLiteral("price"));
    price->setAccessibleName(tr("Price of the material"));
    price->setRange(0, 1e5);
    price->setDecimals(2);
    price->setLocale(QLocale());
    price->setSuffix(tr(" %1 per kg").arg(QLocale().currencySymbol()));
    price->setSpecialValueText(tr("not known"));
    price->setKeyboardTracking(false);
    price->setValue(_preferences.GetPricePerKilogram());
    connect(price, qOverload<double>(&QDoubleSpinBox::valueChanged), this,
            [this](double i_price) { _preferences.SetPricePerKilogram(i_price); });
    io_form.addRow(tr("Price of the material"), price);
}

void SettingsDialog::_AddFolder(QFormLayout& io_form, const QString& i_title, const QString& i_folder)
{
    auto* const row = new QHBoxLayout();
    auto* const label = new ElidedLabel(_content);
    // As people write it: the home folder says nothing, and takes the room of what does.
    const QString home = QDir::homePath() + QLatin1Char('/');
    label->setText(i_folder.startsWith(home) ? QStringLiteral("~/") + i_folder.mid(home.size()) : i_folder);
    auto* const open = new QPushButton(tr("Open"), _content);
    open->setAccessibleName(tr("Open: %1").arg(i_title));
    connect(open, &QPushButton::clicked, this, [this, i_folder] { Q_EMIT OpenWanted(i_folder); });
    row->addWidget(label, 1);
    row->addWidget(open);
    io_form.addRow(i_title, row);
}

void SettingsDialog::_AddFolders(QFormLayout& io_form)
{
    const auto show = [](const auto& i_path) {
        return QString::fromStdString(TavSDK::ShowPath(i_path));
    };
    _AddFolder(io_form, tr("Your printers' profiles"), show(_folders.profiles));
    _AddFolder(io_form, tr("Machine files"), show(_folders.machineFiles));
    auto* const row = new QHBoxLayout();
    _size = new QLabel(_content);
    _clear = new QPushButton(tr("Clear"), _content);
    _clear->setAccessibleName(tr("Clear the kept results"));
    _clear->setToolTip(tr("The engine's results are kept so that nothing is sliced twice. Clearing costs only time."));
    connect(_clear, &QPushButton::clicked, this, [this] {
        _clear->setEnabled(false);
        _background.Run(
            [folder = _folders.keptResults](const std::stop_token& i_stop) {
                KeptResults::Clear(folder, i_stop);
                return true;
            },
            [this](bool) { _Measure(); }, [this](const QString& i_sentence) { _size->setText(i_sentence); });
    });
    row->addWidget(_size, 1);
    row->addWidget(_clear);
    io_form.addRow(tr("Kept results of the engine"), row);
}

void SettingsDialog::_AddLog(QFormLayout& io_form)
{
    auto* const detailed = new QCheckBox(tr("Detailed, for finding a fault"), _content);
    detailed->setObjectName(QStringLiteral("log"));
    detailed->setChecked(_preferences.IsLogDetailed());
    connect(detailed, &QCheckBox::toggled, this, [this](bool i_is) { _preferences.SetLogDetailed(i_is); });
    io_form.addRow(tr("Log"), detailed);
}

void SettingsDialog::_Measure()
{
    _size->setText(tr("being measured"));
    _background.Run(
        [folder = _folders.keptResults](const std::stop_token& i_stop) { return KeptResults::Measure(folder, i_stop); },
        [this](std::uintmax_t i_bytes) {
            _size->setText(i_bytes == 0 ? tr("none") : QLocale().formattedDataSize(static_cast<qint64>(i_bytes)));
            _clear->setEnabled(i_bytes > 0);
        },
        [this](const QString& i_sentence) { _size->setText(i_sentence); });
}

} // namespace Workbench
