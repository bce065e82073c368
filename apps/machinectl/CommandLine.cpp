#include "machinectl/CommandLine.h"

#include "machinectl/CommandTable.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <charconv>

namespace MachineCtl {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::CommandLine)
};

CommandLine Refuse(const QString& i_reason, const CommandInfo* ip_command = nullptr)
{
    CommandLine result;
    result.action = CommandLine::Action::Refuse;
    const auto words =
        ip_command ? QLatin1String(ip_command->name) + QLatin1String(" --help") : QStringLiteral("--help");
    result.fault = i_reason + QLatin1Char(' ') + Texts::tr("Try machinectl %1.").arg(words);
    return result;
}

void AddOptions(std::span<const OptionInfo> i_options, QCommandLineParser& io_parser)
{
    for (const auto& option : i_options) {
        QStringList names(QLatin1String(option.name));
        if (names.front() == QLatin1String("help"))
            names.append(QStringLiteral("h"));
        io_parser.addOption({names, QString(), QLatin1String(option.placeholder)});
    }
}

void TakeOptions(const QCommandLineParser& i_parser, std::span<const OptionInfo> i_options, CommandLine& io_line)
{
    for (const auto& option : i_options) {
        const auto name = QLatin1String(option.name);
        if (i_parser.isSet(name))
            io_line.options[option.name] =
                option.values == Values::None ? std::string() : i_parser.value(name).toStdString();
    }
}

QString EndSentence(QString i_text)
{
    return i_text.endsWith(QLatin1Char('.')) ? i_text : i_text + QLatin1Char('.');
}

CommandLine ParseCommand(const CommandInfo& i_command, const QStringList& i_arguments, CommandLine i_line)
{
    QCommandLineParser parser;
    AddOptions(GetCommonOptions(), parser);
    AddOptions(i_command.options, parser);
    if (!parser.parse(i_arguments))
        return Refuse(EndSentence(parser.errorText()), &i_command);
    i_line.command = &i_command;
    TakeOptions(parser, GetCommonOptions(), i_line);
    TakeOptions(parser, i_command.options, i_line);
    for (const auto& operand : parser.positionalArguments())
        i_line.operands.push_back(operand.toStdString());
    if (i_line.Has("help") || i_line.Has("version"))
        return i_line;
    const int count = static_cast<int>(i_line.operands.size());
    if (count < i_command.least)
        return Refuse(Texts::tr("%1 needs %2.").arg(QLatin1String(i_command.name), QLatin1String(i_command.operands)),
                      &i_command);
    if (count > i_command.most)
        return Refuse(Texts::tr("%1 has no use for '%2'.")
                          .arg(QLatin1String(i_command.name), QString::fromStdString(i_line.operands.back())),
                      &i_command);
    return i_line;
}

} // namespace

std::string CommandLine::Get(const char* ip_option) const
{
    const auto found = options.find(ip_option);
    return found == options.end() ? std::string() : found->second;
}

CommandLine ParseCommandLine(const QStringList& i_arguments)
{
    QCommandLineParser parser;
    // What comes behind the command's name is the command's to understand.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    AddOptions(GetCommonOptions(), parser);
    if (!parser.parse(i_arguments))
        return Refuse(EndSentence(parser.errorText()));
    CommandLine line;
    TakeOptions(parser, GetCommonOptions(), line);
    auto words = parser.positionalArguments();
    if (!words.isEmpty()) {
        const auto* const command = FindCommand(words.front().toStdString());
        if (!command)
            return Refuse(Texts::tr("There is no command '%1'.").arg(words.front()));
        line = ParseCommand(*command, words, std::move(line));
    } else if (!line.Has("help") && !line.Has("version")) {
        return Refuse(Texts::tr("A command is missing."));
    }
    if (line.action == CommandLine::Action::Refuse)
        return line;
    if (line.Has("help"))
        line.action = CommandLine::Action::ShowHelp;
    else if (line.Has("version"))
        line.action = CommandLine::Action::ShowVersion;
    else if (line.Has("token-file") && !line.Has("address"))
        return Refuse(Texts::tr("--token-file is for an --address of https."));
    return line;
}

int ParseNumber(const std::string& i_text, const QString& i_name, int i_least, int i_most)
{
    int number = 0;
    const auto* const end = i_text.data() + i_text.size();
    const auto read = std::from_chars(i_text.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end || number < i_least || number > i_most)
        throw UsageError(Texts::tr("%1 is a number from %2 to %3, not '%4'.")
                             .arg(i_name)
                             .arg(i_least)
                             .arg(i_most)
                             .arg(QString::fromStdString(i_text)));
    return number;
}

} // namespace MachineCtl
