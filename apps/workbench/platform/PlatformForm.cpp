#include "workbench/platform/PlatformForm.h"

#include "platform/IPlatformCreator.h"

#include <QStringList>

#include <algorithm>

namespace Workbench {

PlatformForm PlatformForm::Read(const MachineService::IPlatformCreator& i_creator)
{
    const auto text = [](const std::wstring& i_text) {
        return QString::fromStdWString(i_text);
    };
    PlatformForm form;
    form.machine = text(i_creator.GetName());
    form.comment = text(i_creator.GetComment());
    QStringList materials;
    for (std::size_t index = 0; index < i_creator.GetMaterialCount(); ++index)
        materials << text(i_creator.GetMaterial(index));
    form.materials = materials.join(QStringLiteral(", "));
    for (std::size_t index = 0; index < i_creator.GetParameterCount(); ++index) {
        const auto& parameter = *i_creator.GetParameter(index);
        Choice choice;
        choice.id = text(parameter.GetId());
        choice.name = text(parameter.GetName());
        choice.isRequired = parameter.IsRequired();
        for (std::size_t number = 0; number < parameter.GetItemCount(); ++number) {
            const auto& item = *parameter.GetItem(number);
            choice.items.push_back({text(item.GetId()), text(item.GetName()), item.IsDefault()});
            if (item.IsDefault() && choice.chosen.isEmpty())
                choice.chosen = choice.items.back().id;
        }
        form.choices.push_back(std::move(choice));
    }
    return form;
}

void PlatformForm::Remember(const QMap<QString, QString>& i_chosen)
{
    for (Choice& choice : choices) {
        const QString former = i_chosen.value(choice.id);
        if (std::any_of(choice.items.begin(), choice.items.end(),
                        [&](const Item& i_item) { return i_item.id == former; }))
            choice.chosen = former;
    }
}

QMap<QString, QString> PlatformForm::GetChosen() const
{
    QMap<QString, QString> chosen;
    for (const Choice& choice : choices) {
        if (!choice.chosen.isEmpty())
            chosen.insert(choice.id, choice.chosen);
    }
    return chosen;
}

QStringList PlatformForm::GetMissing() const
{
    QStringList missing;
    for (const Choice& choice : choices) {
        if (choice.isRequired && choice.chosen.isEmpty())
            missing << choice.name;
    }
    return missing;
}

void PlatformForm::Write(MachineService::IPlatformCreator& io_creator) const
{
    for (const Choice& choice : choices) {
        if (!choice.chosen.isEmpty())
            io_creator.SetParameterValue(choice.id.toStdWString(), choice.chosen.toStdWString());
    }
}

} // namespace Workbench
