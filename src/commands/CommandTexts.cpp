#include "commands/CommandTexts.h"

#include "catalog/PrinterAttachment.h"
#include "client/interface/MachineData.h"
#include "commands/CommandKinds.h"
#include "platform/PlainText.h"

#include <QCoreApplication>

#include <algorithm>
#include <string>

namespace MachineService {

namespace {

// Services send what they like; a ribbon shows a few words.
constexpr int MaxTitleLength = 80;
constexpr int MaxToolTipLength = 1000;

/// The kind's text; empty for a command that the machine names.
QString GetOwnText(const CommandDescription& i_description, const MachineData& i_data,
                   SourceText CommandFace::*ip_which)
{
    const std::optional<CommandKind> kind = FindCommandKind(i_description.type);
    const std::optional<CommandFace> face = kind ? GetFace(*kind, i_data) : std::nullopt;
    if (!face)
        return QString();
    const SourceText& text = (*face).*ip_which;
    const std::string context = std::string("commands.") + face->name;
    return QCoreApplication::translate(context.c_str(), text.text, text.disambiguation);
}

} // namespace

std::optional<QString> GetCommandName(const CommandDescription& i_description, const MachineData& i_data)
{
    const std::optional<CommandKind> kind = FindCommandKind(i_description.type);
    if (!kind)
        return std::nullopt;
    const std::optional<CommandFace> face = GetFace(*kind, i_data);
    return face ? QString(QLatin1String(face->name)) : Utilities::GetDynamicCommandName(i_description.id);
}

QString GetMachinesTitle(const CommandDescription& i_description)
{
    return ToDisplayText(i_description.name, MaxTitleLength).simplified();
}

QString GetCommandTitle(const CommandDescription& i_description, const MachineData& i_data)
{
    const QString text = GetOwnText(i_description, i_data, &CommandFace::title);
    return text.isEmpty() ? GetMachinesTitle(i_description) : text;
}

QString GetCommandToolTip(const CommandDescription& i_description, const MachineData& i_data)
{
    const QString text = GetOwnText(i_description, i_data, &CommandFace::toolTip);
    return text.isEmpty() ? ToDisplayText(i_description.description, MaxToolTipLength) : text;
}

QString ToDisplayText(const std::string& i_text, int i_max_length)
{
    // A character takes at most four bytes, and of four times the characters some may be left out.
    const std::size_t bytes = std::min(i_text.size(), std::size_t{16} * static_cast<std::size_t>(i_max_length));
    return ToPlainText(QString::fromUtf8(i_text.data(), static_cast<int>(bytes)), i_max_length);
}

} // namespace MachineService
