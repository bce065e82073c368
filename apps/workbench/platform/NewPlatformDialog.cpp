#include "workbench/platform/NewPlatformDialog.h"

#include "workbench/look/ThemePalette.h"

#include <QAccessible>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace Workbench {

NewPlatformDialog::NewPlatformDialog(PlatformForm i_form, int i_part_count, Make i_make, QWidget* ip_parent)
    : QDialog(ip_parent)
    , _form(std::move(i_form))
    , _make(std::move(i_make))
    , _fields(new QWidget(this))
    , _error(new QLabel(this))
    , _buttons(new QDialogButtonBox(QDialogButtonBox::Cancel, this))
{
    setWindowTitle(tr("New platform for %1").arg(_form.machine));
    setMinimumWidth(440);
    auto* const column = new QVBoxLayout(this);
    column->setSpacing(10);
    auto* const words = new QWidget(this);
    auto* const wordsColumn = new QVBoxLayout(words);
    wordsColumn->setContentsMargins(0, 0, 0, 0);
    wordsColumn->setSpacing(4);
    _AddText(words, _form.comment, false);
    if (!_form.materials.isEmpty())
        _AddText(words, tr("Materials: %1").arg(_form.materials), true);
    column->addWidget(words);
    auto* const rows = new QFormLayout(_fields);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    _AddChoices(*rows);
    _AddParts(*rows, i_part_count);
    column->addWidget(_fields);
    _error->setWordWrap(true);
    _error->setTextFormat(Qt::PlainText);
    _error->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    _error->setAccessibleName(tr("Why the platform was not made"));
    QPalette palette = _error->palette();
    palette.setColor(QPalette::WindowText, GetStatusColors(palette).bad);
    _error->setPalette(palette);
    _error->hide();
    column->addWidget(_error);
    column->addStretch();
    auto* const create = _buttons->addButton(tr("Create platform"), QDialogButtonBox::AcceptRole);
    create->setDefault(true);
    _buttons->button(QDialogButtonBox::Cancel)->setText(tr("Cancel"));
    connect(_buttons, &QDialogButtonBox::accepted, this, &NewPlatformDialog::accept);
    connect(_buttons, &QDialogButtonBox::rejected, this, &NewPlatformDialog::reject);
    column->addWidget(_buttons);
}

void NewPlatformDialog::_AddText(QWidget* ip_column, const QString& i_text, bool i_is_dimmed)
{
    if (i_text.isEmpty())
        return;
    auto* const label = new QLabel(i_text, ip_column);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    if (i_is_dimmed)
        label->setForegroundRole(QPalette::PlaceholderText);
    ip_column->layout()->addWidget(label);
}

void NewPlatformDialog::_AddChoices(QFormLayout& io_rows)
{
    for (PlatformForm::Choice& choice : _form.choices) {
        auto* const box = new QComboBox(_fields);
        if (!choice.isRequired || choice.chosen.isEmpty())
            box->addItem(choice.isRequired ? tr("Please choose") : tr("No choice"), QString());
        for (const auto& item : choice.items)
            box->addItem(item.isDefault ? tr("%1 (default)").arg(item.name) : item.name, item.id);
        box->setCurrentIndex(qMax(box->findData(choice.chosen), 0));
        const QString name = choice.isRequired ? tr("%1 *").arg(choice.name) : choice.name;
        box->setAccessibleName(choice.isRequired ? tr("%1, required").arg(choice.name) : choice.name);
        connect(box, qOverload<int>(&QComboBox::currentIndexChanged), this,
                [&choice, box] { choice.chosen = box->currentData().toString(); });
        io_rows.addRow(name, box);
        _boxes.push_back(box);
    }
    if (std::any_of(_form.choices.begin(), _form.choices.end(),
                    [](const auto& i_choice) { return i_choice.isRequired; })) {
        auto* const hint = new QLabel(tr("* has to be chosen"), _fields);
        hint->setForegroundRole(QPalette::PlaceholderText);
        io_rows.addRow(QString(), hint);
    }
}

void NewPlatformDialog::_AddParts(QFormLayout& io_rows, int i_part_count)
{
    if (i_part_count == 0)
        return;
    auto* const group = new QWidget(_fields);
    auto* const column = new QVBoxLayout(group);
    column->setContentsMargins(0, 0, 0, 0);
    _keep = new QRadioButton(tr("Keep them on the new platform"), group);
    _replace = new QRadioButton(tr("Remove them (can be undone)"), group);
    auto* const apart = new QRadioButton(tr("Leave this scene, make a new one"), group);
    for (QRadioButton* const button : {_keep, _replace, apart})
        column->addWidget(button);
    _keep->setChecked(true);
    group->setAccessibleName(tr("What becomes of the parts of this scene"));
    io_rows.addRow(tr("Parts of this scene: %1").arg(i_part_count), group);
}

NewPlatformDialog::Parts NewPlatformDialog::_GetParts() const
{
    if (!_keep || _keep->isChecked())
        return Parts::Keep;
    return _replace->isChecked() ? Parts::Replace : Parts::NewScene;
}

void NewPlatformDialog::_Tell(const QString& i_sentence)
{
    _error->setText(i_sentence);
    _error->setVisible(!i_sentence.isEmpty());
    if (!i_sentence.isEmpty()) {
        QAccessibleEvent event(_error, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    }
    adjustSize();
}

void NewPlatformDialog::accept()
{
    if (_isMaking)
        return;
    if (const QStringList missing = _form.GetMissing(); !missing.isEmpty()) {
        for (std::size_t index = 0; index < _boxes.size(); ++index) {
            if (_form.choices[index].isRequired && _form.choices[index].chosen.isEmpty()) {
                _boxes[index]->setFocus();
                break;
            }
        }
        return _Tell(tr("Please choose: %1.").arg(missing.join(QStringLiteral(", "))));
    }
    _Tell({});
    _isMaking = true;
    _fields->setEnabled(false);
    const QPointer<NewPlatformDialog> alive(this);
    const QString failure = _make(_form, _GetParts());
    if (!alive)
        return;
    _isMaking = false;
    _fields->setEnabled(true);
    if (failure.isEmpty())
        QDialog::accept();
    else
        _Tell(failure);
}

void NewPlatformDialog::reject()
{
    if (_isMaking)
        Q_EMIT CancelWanted();
    else
        QDialog::reject();
}

} // namespace Workbench
