#include "hosting/PlatformChoices.h"

#include "hosting/HostingError.h"

#include "platform/IPlatformCreator.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace Hosting {

namespace {

using MachineService::IPlatformCreator;
using MachineService::IPlatformParameterChoice;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::PlatformChoices)
};

QStringList GetItemIds(const IPlatformParameterChoice& i_choice)
{
    QStringList ids;
    for (std::size_t index = 0; index < i_choice.GetItemCount(); ++index)
        ids << QString::fromStdWString(i_choice.GetItem(index)->GetId());
    return ids;
}

void CheckIds(const IPlatformCreator& i_creator, const ChosenValues& i_chosen)
{
    QStringList ids;
    for (std::size_t index = 0; index < i_creator.GetParameterCount(); ++index)
        ids << QString::fromStdWString(i_creator.GetParameter(index)->GetId());
    for (const auto& [id, value] : i_chosen) {
        if (!ids.contains(id))
            throw HostingError(
                Texts::tr("The machine '%1' does not offer the choice '%2'; it offers %3.")
                    .arg(QString::fromStdWString(i_creator.GetName()), id, ids.join(QStringLiteral(", "))));
    }
}

/// The user's value, or the first default; empty when there is neither.
std::optional<QString> GetValue(const IPlatformParameterChoice& i_choice, const ChosenValues& i_chosen)
{
    const QString id = QString::fromStdWString(i_choice.GetId());
    const auto chosen =
        std::find_if(i_chosen.begin(), i_chosen.end(), [&](const auto& i_value) { return i_value.first == id; });
    if (chosen != i_chosen.end()) {
        const QStringList offered = GetItemIds(i_choice);
        if (!offered.contains(chosen->second))
            throw HostingError(Texts::tr("The choice '%1' does not offer the value '%2'; it offers %3.")
                                   .arg(id, chosen->second, offered.join(QStringLiteral(", "))));
        return chosen->second;
    }
    for (std::size_t index = 0; index < i_choice.GetItemCount(); ++index) {
        if (i_choice.GetItem(index)->IsDefault())
            return QString::fromStdWString(i_choice.GetItem(index)->GetId());
    }
    if (i_choice.IsRequired())
        throw HostingError(Texts::tr("The choice '%1' needs a value; it offers %2.")
                               .arg(id, GetItemIds(i_choice).join(QStringLiteral(", "))));
    return std::nullopt;
}

} // namespace

ChosenValues CompleteChoices(const IPlatformCreator& i_creator, const ChosenValues& i_chosen)
{
    CheckIds(i_creator, i_chosen);
    ChosenValues complete;
    for (std::size_t index = 0; index < i_creator.GetParameterCount(); ++index) {
        const auto& choice = *i_creator.GetParameter(index);
        if (const auto value = GetValue(choice, i_chosen))
            complete.emplace_back(QString::fromStdWString(choice.GetId()), *value);
    }
    return complete;
}

} // namespace Hosting
