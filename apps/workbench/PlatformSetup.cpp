#include "PlatformSetup.h"

#include "TourError.h"

#include "platform/IPlatformCreator.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>
#include <memory>
#include <optional>

namespace Workbench {

namespace {

using MachineService::IPlatformCreator;
using MachineService::IPlatformParameterChoice;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::PlatformSetup)
};

QString FromWide(const std::wstring& i_text)
{
    return QString::fromStdWString(i_text);
}

QStringList GetItemIds(const IPlatformParameterChoice& i_choice)
{
    QStringList ids;
    for (std::size_t index = 0; index < i_choice.GetItemCount(); ++index)
        ids << FromWide(i_choice.GetItem(index)->GetId());
    return ids;
}

void ShowChoice(const IPlatformParameterChoice& i_choice, Transcript& io_transcript)
{
    QStringList items;
    for (std::size_t index = 0; index < i_choice.GetItemCount(); ++index) {
        const auto& item = *i_choice.GetItem(index);
        QStringList remarks;
        if (item.GetName() != item.GetId())
            remarks << FromWide(item.GetName());
        if (item.IsDefault())
            remarks << Texts::tr("default");
        items << (remarks.isEmpty()
                      ? FromWide(item.GetId())
                      : QStringLiteral("%1 (%2)").arg(FromWide(item.GetId()), remarks.join(QStringLiteral(", "))));
    }
    QString name = FromWide(i_choice.GetName());
    if (i_choice.IsRequired())
        name = Texts::tr("%1, required").arg(name);
    io_transcript.Line(QStringLiteral("  %1  %2: %3")
                           .arg(FromWide(i_choice.GetId()).leftJustified(26), name, items.join(QStringLiteral(", "))));
}

void ShowInformation(const IPlatformCreator& i_creator, Transcript& io_transcript)
{
    io_transcript.Line(QStringLiteral("  %1").arg(FromWide(i_creator.GetName())));
    for (const QString& line : FromWide(i_creator.GetComment()).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        io_transcript.Line(QStringLiteral("  %1").arg(line));
    QStringList materials;
    for (std::size_t index = 0; index < i_creator.GetMaterialCount(); ++index)
        materials << FromWide(i_creator.GetMaterial(index));
    io_transcript.Line(Texts::tr("  materials: %1").arg(materials.join(QStringLiteral(", "))));
    for (std::size_t index = 0; index < i_creator.GetParameterCount(); ++index)
        ShowChoice(*i_creator.GetParameter(index), io_transcript);
}

void CheckIds(const IPlatformCreator& i_creator, const ChosenValues& i_chosen)
{
    QStringList ids;
    for (std::size_t index = 0; index < i_creator.GetParameterCount(); ++index)
        ids << FromWide(i_creator.GetParameter(index)->GetId());
    for (const auto& [id, value] : i_chosen) {
        if (!ids.contains(id))
            throw TourError(Texts::tr("The machine '%1' does not offer the choice '%2'; it offers %3.")
                                .arg(FromWide(i_creator.GetName()), id, ids.join(QStringLiteral(", "))));
    }
}

/// The user's value, or the first default; empty when there is neither.
std::optional<QString> GetValue(const IPlatformParameterChoice& i_choice, const ChosenValues& i_chosen)
{
    const QString id = FromWide(i_choice.GetId());
    const auto chosen =
        std::find_if(i_chosen.begin(), i_chosen.end(), [&](const auto& i_value) { return i_value.first == id; });
    if (chosen != i_chosen.end()) {
        const QStringList offered = GetItemIds(i_choice);
        if (!offered.contains(chosen->second))
            throw TourError(Texts::tr("The choice '%1' does not offer the value '%2'; it offers %3.")
                                .arg(id, chosen->second, offered.join(QStringLiteral(", "))));
        return chosen->second;
    }
    for (std::size_t index = 0; index < i_choice.GetItemCount(); ++index) {
        if (i_choice.GetItem(index)->IsDefault())
            return FromWide(i_choice.GetItem(index)->GetId());
    }
    if (i_choice.IsRequired())
        throw TourError(Texts::tr("The choice '%1' needs a value: --set %1=…; it offers %2.")
                            .arg(id, GetItemIds(i_choice).join(QStringLiteral(", "))));
    return std::nullopt;
}

} // namespace

void CreatePlatform(const MachineService::Machine& i_machine, VexlorCore::DataSet& io_scene,
                    const ChosenValues& i_chosen, const std::function<IVexlorApiProvider&()>& i_api_provider,
                    Transcript& io_transcript)
{
    auto information = i_machine.GetPlatformInformation();
    std::wstring message;
    const auto creator = MachineService::TryCreatePlatformCreator(i_machine, information, i_api_provider, message);
    if (!creator)
        throw TourError(message.empty() ? Texts::tr("The machine offers no platform.") : FromWide(message));
    if (!message.empty())
        io_transcript.Line(QStringLiteral("  %1").arg(FromWide(message)));
    ShowInformation(*creator, io_transcript);

    CheckIds(*creator, i_chosen);
    ChosenValues sent;
    for (std::size_t index = 0; index < creator->GetParameterCount(); ++index) {
        const auto& choice = *creator->GetParameter(index);
        if (const auto value = GetValue(choice, i_chosen))
            sent.emplace_back(FromWide(choice.GetId()), *value);
    }
    for (const auto& [id, value] : sent) {
        creator->SetParameterValue(id.toStdWString(), value.toStdWString());
        io_transcript.Line(Texts::tr("  sent: %1 = %2").arg(id, value));
    }
    if (!creator->CreatePlatform(&io_scene, false))
        throw TourError(Texts::tr("The machine '%1' gave no platform.").arg(FromWide(creator->GetName())));
}

} // namespace Workbench
