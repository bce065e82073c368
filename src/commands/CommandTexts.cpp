#include "commands/CommandTexts.h"

#include "catalog/PrinterAttachment.h"
#include "client/interface/MachineData.h"
#include "commands/CommandNames.h"

#include <QCoreApplication>

#include <algorithm>

namespace MachineService {

namespace {

// Services send what they like; a ribbon shows a few words.
constexpr std::size_t MaxTitleLength = 80;
constexpr std::size_t MaxToolTipLength = 1000;

struct SourceText
{
    const char* text;
    const char* disambiguation;
};

struct CommandTexts
{
    const char* commandName;
    const char* context;
    SourceText title;
    SourceText toolTip;
};

// The translation tools find the texts by these macros, hence the contexts as literals.
constexpr CommandTexts mgp_texts[] = {
    {"Print3D.Print", "commands.Print3D.Print", QT_TRANSLATE_NOOP3("commands.Print3D.Print", "Build", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.Print", "Send the active platform to the machine.", "tooltip")},
    {"Print3D.ConfigurePrinter", "commands.Print3D.ConfigurePrinter",
     QT_TRANSLATE_NOOP3("commands.Print3D.ConfigurePrinter", "Configure Printer", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.ConfigurePrinter", "Configure settings of the printer.", "tooltip")},
    {"Print3D.ConfigureConnection", "commands.Print3D.ConfigureConnection",
     QT_TRANSLATE_NOOP3("commands.Print3D.ConfigureConnection", "Configure Connection", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.ConfigureConnection", "Configure the connection to the Build Processor.",
                        "tooltip")},
    {"Print3D.ConfigurPlatform", "commands.Print3D.ConfigurPlatform",
     QT_TRANSLATE_NOOP3("commands.Print3D.ConfigurPlatform", "Configure Platform", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.ConfigurPlatform",
                        "Configure platform settings related to the build processor.", "tooltip")},
    {"Print3D.ConfigureParts", "commands.Print3D.ConfigureParts",
     QT_TRANSLATE_NOOP3("commands.Print3D.ConfigureParts", "Configure Parts", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.ConfigureParts", "Configure parts' settings related to the build processor.",
                        "tooltip")},
    {"Print3D.PrintConsumptionEstimations", "commands.Print3D.PrintConsumptionEstimations",
     QT_TRANSLATE_NOOP3("commands.Print3D.PrintConsumptionEstimations", "Build Consumption Estimations", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.PrintConsumptionEstimations", "Build Consumption Estimations.", "tooltip")},
    {"Print3D.AutomaticPlacement", "commands.Print3D.AutomaticPlacement",
     QT_TRANSLATE_NOOP3("commands.Print3D.AutomaticPlacement", "Automatic Placement", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.AutomaticPlacement",
                        "2D placement of parts on the platform according to user-defined parameters.", "tooltip")},
    {"Print3D.PostJob", "commands.Print3D.PostJob", QT_TRANSLATE_NOOP3("commands.Print3D.PostJob", "Build", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.PostJob", "Send a ready job for processing in Machine Manager.", "tooltip")},
    {"Print3D.CreateJobUrl", "commands.Print3D.CreateJobUrl",
     QT_TRANSLATE_NOOP3("commands.Print3D.CreateJobUrl", "Create Job", "title"),
     QT_TRANSLATE_NOOP3("commands.Print3D.CreateJobUrl",
                        "Send a draft job to Machine Manager for further configuration.", "tooltip")},
};

QString GetText(const QString& i_command_name, SourceText CommandTexts::*ip_which, const std::string& i_own_text,
                std::size_t i_max_length)
{
    QString text;
    for (const CommandTexts& texts : mgp_texts)
        if (i_command_name == QLatin1String(texts.commandName))
            text = QCoreApplication::translate(texts.context, (texts.*ip_which).text, (texts.*ip_which).disambiguation);
    return text.isEmpty() ? ToDisplayText(i_own_text, i_max_length) : text;
}

} // namespace

std::optional<QString> GetCommandName(const CommandDescription& i_description, const MachineData& i_data)
{
    switch (i_description.type) {
    case CommandType::Build:
        return QLatin1String(BPCommandNameBuild);
    case CommandType::ConfigurePrinter:
        return QLatin1String(i_data.configuresConnection ? BPCommandNameConfigureConnection : BPCommandNameConfigure);
    case CommandType::ConfigurePlatform:
        return QLatin1String(BPCommandNameConfigurPlatform);
    case CommandType::ConfigureParts:
        return QLatin1String(BPCommandNameConfigureParts);
    case CommandType::ConsumptionEstimations:
        return QLatin1String(BPCommandNamePrintConsumptionEstimations);
    case CommandType::AutomaticPlacement:
        return QLatin1String(BPCommandNameAutomaticPlacement);
    case CommandType::PostJob:
        return QLatin1String(BPCommandNamePostJob);
    case CommandType::CreateJobUrl:
        return QLatin1String(BPCommandNameCreateJobUrl);
    case CommandType::Additional:
    case CommandType::AdditionalForParts:
    case CommandType::AdditionalForPlatform:
        return Utilities::GetDynamicCommandName(i_description.id);
    }
    // Services may send numbers that the enumeration does not have.
    return std::nullopt;
}

QString GetCommandTitle(const CommandDescription& i_description, const QString& i_command_name)
{
    return GetText(i_command_name, &CommandTexts::title, i_description.name, MaxTitleLength).simplified();
}

QString GetCommandToolTip(const CommandDescription& i_description, const QString& i_command_name)
{
    return GetText(i_command_name, &CommandTexts::toolTip, i_description.description, MaxToolTipLength);
}

QString ToDisplayText(const std::string& i_text, std::size_t i_max_length)
{
    // A character takes at most four bytes: what lies behind cannot be shown and need not be decoded.
    const std::size_t bytes = std::min(i_text.size(), 4 * (i_max_length + 1));
    QString text = QString::fromUtf8(i_text.data(), static_cast<int>(bytes));
    const int max_length = static_cast<int>(i_max_length);
    if (text.size() <= max_length)
        return text;
    text.truncate(max_length - 1);
    if (text.at(text.size() - 1).isHighSurrogate())
        text.chop(1);
    return text + QChar(0x2026);
}

} // namespace MachineService
