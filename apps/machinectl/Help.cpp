#include "machinectl/Help.h"

#include "machinectl/CommandTable.h"
#include "machinectl/Commands.h"
#include "machinectl/Session.h"
#include "machinectl/TextWidth.h"

#include <QCoreApplication>

#include <algorithm>

namespace MachineCtl {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::Help)
};

QString Translate(const char* ip_text)
{
    return *ip_text ? QCoreApplication::translate("MachineCtl::Table", ip_text) : QString();
}

QString ShowOption(const OptionInfo& i_option)
{
    const QString name = QStringLiteral("--") + QLatin1String(i_option.name);
    return i_option.values == Values::None ? name : name + QLatin1Char(' ') + QLatin1String(i_option.placeholder);
}

QString ShowCommand(const CommandInfo& i_command)
{
    const auto name = QString::fromLatin1(i_command.name);
    return *i_command.operands ? name + QLatin1Char(' ') + QLatin1String(i_command.operands) : name;
}

QString ShowUsage(const CommandInfo& i_command)
{
    return QStringLiteral("machinectl ") + ShowCommand(i_command) +
           (i_command.options.empty() ? QString() : QLatin1Char(' ') + Texts::tr("[OPTION …]"));
}

using Row = std::pair<QString, QString>;

std::vector<Row> MakeOptionRows(std::span<const OptionInfo> i_options)
{
    std::vector<Row> rows;
    for (const auto& option : i_options)
        rows.emplace_back(ShowOption(option), Translate(option.help));
    return rows;
}

std::vector<Row> MakeCommandRows()
{
    std::vector<Row> rows;
    for (const auto& command : GetCommands())
        rows.emplace_back(ShowCommand(command), Translate(command.help));
    return rows;
}

std::vector<Row> MakeStatusRows()
{
    std::vector<Row> rows;
    for (const auto& row : GetExitStatuses())
        rows.emplace_back(QString::number(row.status), Translate(row.help));
    return rows;
}

std::vector<Row> MakeVariableRows()
{
    return {{QStringLiteral("NO_COLOR"), Texts::tr("When it is not empty, nothing is coloured.")},
            {QStringLiteral("XDG_RUNTIME_DIR"), Texts::tr("Where the user's own Machine Manager has its sockets.")},
            {QStringLiteral("MACHINESERVICE_MANAGER_PROGRAM"),
             Texts::tr("The program that is started where the user's own Machine Manager does not run.")},
            {QStringLiteral("SSL_CERT_FILE"),
             Texts::tr("Certificates of the authorities that may vouch for a Machine Manager over https.")}};
}

QString Lay(const QString& i_title, const std::vector<Row>& i_rows, int i_width)
{
    constexpr int indent = 2;
    constexpr int widestName = 26;
    constexpr int narrowest = 24; // of the column of texts
    QString text = QLatin1Char('\n') + i_title + QLatin1Char('\n');
    int widest = 0;
    for (const auto& row : i_rows)
        widest = std::max(widest, std::min(GetWidth(row.first), widestName));
    const int column = indent + widest + 2;
    for (const auto& [name, help] : i_rows) {
        text += QString(indent, QLatin1Char(' ')) + name;
        int place = indent + GetWidth(name);
        if (place + 2 > column) {
            text += QLatin1Char('\n');
            place = 0;
        }
        for (const auto& line : WrapText(help, std::max(i_width - column, narrowest))) {
            text += QString(column - place, QLatin1Char(' ')) + line + QLatin1Char('\n');
            place = 0;
        }
    }
    return text;
}

QString Wrap(const QString& i_text, int i_width)
{
    return WrapText(i_text, i_width).join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QString GetPurpose()
{
    return Texts::tr(
        "Shows the jobs and machines of a Machine Manager, hands jobs in, and tells it what to do with them. "
        "Without an address it is the user's own, which is started where it does not run.");
}

/// A text of roff, in which nothing is taken for a command.
QString Escape(const QString& i_text)
{
    auto text = i_text;
    text.replace(QLatin1Char('\\'), QStringLiteral("\\e")).replace(QLatin1Char('-'), QStringLiteral("\\-"));
    if (text.startsWith(QLatin1Char('.')) || text.startsWith(QLatin1Char('\'')))
        text.prepend(QStringLiteral("\\&"));
    return text;
}

QString MakeRoffRows(const std::vector<Row>& i_rows)
{
    QString text;
    for (const auto& [name, help] : i_rows)
        text += QStringLiteral(".TP\n\\fB%1\\fR\n%2\n").arg(Escape(name), Escape(help));
    return text;
}

QString ShowWords(const char* ip_words)
{
    return QString::fromLatin1(ip_words);
}

QString MakeWordCase(const QString& i_pattern, Values i_values, const char* ip_words)
{
    const auto reply = i_values == Values::Files ? QStringLiteral("COMPREPLY=($(compgen -f -- \"$word\"))")
                       : i_values == Values::Words
                           ? QStringLiteral("COMPREPLY=($(compgen -W '%1' -- \"$word\"))").arg(ShowWords(ip_words))
                           : QStringLiteral(":");
    return QStringLiteral("        %1) %2; return ;;\n").arg(i_pattern, reply);
}

} // namespace

QString MakeHelp(const CommandInfo* ip_command, int i_width)
{
    if (!ip_command)
        return Texts::tr("Usage: %1").arg(QStringLiteral("machinectl [OPTION …] COMMAND [ARGUMENT …]")) +
               QStringLiteral("\n\n") + Wrap(GetPurpose(), i_width) +
               Lay(Texts::tr("Commands:"), MakeCommandRows(), i_width) +
               Lay(Texts::tr("Options of all commands:"), MakeOptionRows(GetCommonOptions()), i_width) +
               Lay(Texts::tr("Exit status:"), MakeStatusRows(), i_width) +
               Lay(Texts::tr("Environment:"), MakeVariableRows(), i_width) + QLatin1Char('\n') +
               Wrap(Texts::tr("machinectl COMMAND --help tells the options of a command."), i_width);
    QString text = Texts::tr("Usage: %1").arg(ShowUsage(*ip_command)) + QStringLiteral("\n\n") +
                   Wrap(Translate(ip_command->help), i_width);
    if (*ip_command->more)
        text += Wrap(Translate(ip_command->more), i_width);
    if (!ip_command->options.empty())
        text += Lay(Texts::tr("Options:"), MakeOptionRows(ip_command->options), i_width);
    return text + Lay(Texts::tr("Options of all commands:"), MakeOptionRows(GetCommonOptions()), i_width);
}

QString MakeManual(const QString& i_version)
{
    auto text = QStringLiteral(".TH MACHINECTL 1 \"\" \"machinectl %1\" \"MachineService\"\n").arg(i_version);
    const auto section = [&text](const QString& i_title) {
        text += QStringLiteral(".SH %1\n").arg(Escape(i_title));
    };
    section(Texts::tr("NAME"));
    text += QStringLiteral("machinectl \\- %1\n").arg(Escape(Texts::tr("jobs and machines of a Machine Manager")));
    section(Texts::tr("SYNOPSIS"));
    text += QStringLiteral(".B machinectl\n[\\fIOPTION\\fR …] \\fICOMMAND\\fR [\\fIARGUMENT\\fR …]\n");
    section(Texts::tr("DESCRIPTION"));
    text += Escape(GetPurpose()) + QLatin1Char('\n');
    section(Texts::tr("COMMANDS"));
    for (const auto& command : GetCommands()) {
        text += MakeRoffRows({{ShowCommand(command), Translate(command.help)}});
        if (*command.more)
            text += Escape(Translate(command.more)) + QLatin1Char('\n');
        if (!command.options.empty())
            text += QStringLiteral(".RS\n") + MakeRoffRows(MakeOptionRows(command.options)) + QStringLiteral(".RE\n");
    }
    section(Texts::tr("OPTIONS OF ALL COMMANDS"));
    text += MakeRoffRows(MakeOptionRows(GetCommonOptions()));
    section(Texts::tr("EXIT STATUS"));
    text += MakeRoffRows(MakeStatusRows());
    section(Texts::tr("ENVIRONMENT"));
    return text + MakeRoffRows(MakeVariableRows());
}

QString MakeBashCompletion()
{
    const auto list = [](std::span<const OptionInfo> i_options) {
        QStringList names;
        for (const auto& option : i_options)
            names.append(QStringLiteral("--") + QLatin1String(option.name));
        return names.join(QLatin1Char(' '));
    };
    const auto valueCases = [](std::span<const OptionInfo> i_options, const QString& i_prefix) {
        QString cases;
        for (const auto& option : i_options) {
            if (option.values != Values::None)
                cases += MakeWordCase(i_prefix + QStringLiteral("--") + QLatin1String(option.name), option.values,
                                      option.words);
        }
        return cases;
    };
    QStringList withValue;
    for (const auto& option : GetCommonOptions()) {
        if (option.values != Values::None)
            withValue.append(QStringLiteral("--") + QLatin1String(option.name));
    }
    QStringList names;
    QString options;
    QString values = valueCases(GetCommonOptions(), QStringLiteral("*:"));
    QString operands;
    for (const auto& command : GetCommands()) {
        const auto name = QString::fromLatin1(command.name);
        names.append(name);
        if (!command.options.empty())
            options += QStringLiteral("        %1) own='%2' ;;\n").arg(name, list(command.options));
        values += valueCases(command.options, name + QLatin1Char(':'));
        if (command.values == Values::Files || command.values == Values::Words)
            operands += MakeWordCase(name, command.values, command.words);
    }
    return QStringLiteral(
               "_machinectl()\n{\n"
               "    local word=\"${COMP_WORDS[COMP_CWORD]}\" before=\"${COMP_WORDS[COMP_CWORD-1]}\" command= own= i\n"
               "    COMPREPLY=()\n"
               "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
               "        case \"${COMP_WORDS[i]}\" in\n"
               "        %6) ((i++)) ;;\n"
               "        -*) ;;\n"
               "        *) command=\"${COMP_WORDS[i]}\"; break ;;\n"
               "        esac\n"
               "    done\n"
               "    case \"$command:$before\" in\n%1    esac\n"
               "    case \"$command\" in\n%2    esac\n"
               "    if [[ $word == -* ]]; then\n"
               "        COMPREPLY=($(compgen -W \"%3 $own\" -- \"$word\"))\n"
               "        return\n"
               "    fi\n"
               "    case \"$command\" in\n"
               "        '') COMPREPLY=($(compgen -W '%4' -- \"$word\")) ;;\n%5    esac\n"
               "}\n"
               "complete -o filenames -F _machinectl machinectl\n")
        .arg(values, options, list(GetCommonOptions()), names.join(QLatin1Char(' ')), operands,
             withValue.join(QLatin1Char('|')));
}

namespace Commands {

ExitStatus PrintCompletion(Session& io_session)
{
    if (io_session.GetOperand(0) != "bash")
        throw UsageError(Texts::tr("There is a completion for bash, not for '%1'.")
                             .arg(QString::fromStdString(io_session.GetOperand(0))));
    io_session.GetConsole().Print(MakeBashCompletion());
    return Succeeded;
}

ExitStatus PrintManual(Session& io_session)
{
    io_session.GetConsole().Print(MakeManual(QCoreApplication::applicationVersion()));
    return Succeeded;
}

} // namespace Commands

} // namespace MachineCtl
