#include "tour/PlatformStep.h"

#include "tour/Transcript.h"

#include "hosting/HostingError.h"
#include "platform/IPlatformCreator.h"

#include <QCoreApplication>
#include <QStringList>

namespace Tour {

namespace {

using Hosting::HostingError;
using MachineService::IPlatformCreator;
using MachineService::IPlatformParameterChoice;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::PlatformStep)
};

QString FromWide(const std::wstring& i_text)
{
    return QString::fromStdWString(i_text);
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

} // namespace

void CreatePlatform(const MachineService::Machine& i_machine, VexlorCore::DataSet& io_scene,
                    const Hosting::ChosenValues& i_chosen, const VexlorCore::ApiProviderGetter& i_api_provider,
                    Transcript& io_transcript)
{
    auto information = i_machine.GetPlatformInformation();
    std::wstring message;
    const auto creator = MachineService::TryCreatePlatformCreator(i_machine, information, i_api_provider, message);
    if (!creator)
        throw HostingError(message.empty() ? Texts::tr("The machine offers no platform.") : FromWide(message));
    if (!message.empty())
        io_transcript.Line(QStringLiteral("  %1").arg(FromWide(message)));
    ShowInformation(*creator, io_transcript);

    for (const auto& [id, value] : Hosting::CompleteChoices(*creator, i_chosen)) {
        creator->SetParameterValue(id.toStdWString(), value.toStdWString());
        io_transcript.Line(Texts::tr("  sent: %1 = %2").arg(id, value));
    }
    if (!creator->CreatePlatform(&io_scene, false))
        throw HostingError(Texts::tr("The machine '%1' gave no platform.").arg(FromWide(creator->GetName())));
}

} // namespace Tour
