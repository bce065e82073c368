#include "machinectl/CommandTable.h"
#include "machinectl/CommandLine.h"
#include "machinectl/Help.h"
#include "machinectl/TextWidth.h"
#include "support/Files.h"
#include "support/Test.h"

#include <QProcess>
#include <QTemporaryDir>

namespace {

using namespace MachineCtl;

CommandLine Parse(const char* ip_words)
{
    return ParseCommandLine(
        QString::fromUtf8(ip_words).split(QLatin1Char(' ')).replaceInStrings(QStringLiteral("_"), QStringLiteral(" ")));
}

TEST(CommandTableTest, ALineIsACommandWithItsOptionsInAnyOrder)
{
    const auto line = Parse("machinectl --json --address unix:/a jobs --state pending --address unix:/b -- --odd");
    ASSERT_EQ(line.action, CommandLine::Action::Run) << line.fault.toStdString();
    EXPECT_STREQ(line.command->name, "jobs");
    EXPECT_THAT(line.operands, ElementsAre("--odd"));
    EXPECT_EQ(line.Get("state"), "pending");
    EXPECT_EQ(line.Get("address"), "unix:/b");
    EXPECT_TRUE(line.Has("json"));
    EXPECT_FALSE(line.Has("mine"));
    EXPECT_EQ(Parse("machinectl show --help").action, CommandLine::Action::ShowHelp);
    EXPECT_EQ(Parse("machinectl --help").command, nullptr);
    EXPECT_EQ(Parse("machinectl --version").action, CommandLine::Action::ShowVersion);
}

TEST(CommandTableTest, WrongUsageIsRefusedWithWhatIsWrong)
{
    const struct
    {
        const char* words;
        const char* names;
    } rows[] = {
        {"machinectl", "command"},
        {"machinectl frobnicate", "'frobnicate'"},
        {"machinectl --frobnicate jobs", "frobnicate"},
        {"machinectl jobs --frobnicate", "frobnicate"},
        {"machinectl machines --draft", "draft"},
        {"machinectl show", "JOB"},
        {"machinectl move", "JOB [MACHINE]"},
        {"machinectl show 7 8", "'8'"},
        {"machinectl jobs --state", "state"},
        {"machinectl --token-file /a jobs", "--address"},
    };
    for (const auto& row : rows) {
        const auto line = Parse(row.words);
        EXPECT_EQ(line.action, CommandLine::Action::Refuse) << row.words;
        EXPECT_THAT(line.fault.toStdString(), AllOf(HasSubstr(row.names), HasSubstr("--help"))) << row.words;
    }
    EXPECT_EQ(ParseNumber("100", {}, 1, 100), 100);
    for (const char* const number : {"", "0", "101", "-1", "1.5", "1e1", " 1", "x", "99999999999999999999"})
        EXPECT_THROW(ParseNumber(number, {}, 1, 100), UsageError) << number;
}

TEST(CommandTableTest, HelpManPageAndCompletionNameEveryCommandOptionAndExitStatus)
{
    const auto help = MakeHelp(nullptr, 80).toStdString();
    auto manual = MakeManual(QStringLiteral("1")).replace(QStringLiteral("\\-"), QStringLiteral("-")).toStdString();
    const auto completion = MakeBashCompletion().toStdString();
    for (const auto& command : GetCommands()) {
        const auto own = MakeHelp(&command, 80).toStdString();
        EXPECT_THAT(help, HasSubstr(std::string("\n  ") + command.name));
        EXPECT_THAT(manual, HasSubstr(std::string("\n\\fB") + command.name));
        EXPECT_THAT(completion, HasSubstr(command.name));
        EXPECT_THAT(own, HasSubstr(command.operands));
        for (const auto& option : command.options) {
            for (const auto& text : {own, manual, completion})
                EXPECT_THAT(text, HasSubstr(std::string("--") + option.name)) << command.name;
        }
    }
    for (const auto& row : GetExitStatuses()) {
        EXPECT_THAT(help, ContainsRegex("\n  " + std::to_string(row.status) + " +" + row.help));
        EXPECT_THAT(manual, HasSubstr("\\fB" + std::to_string(row.status) + "\\fR\n" + row.help));
    }
    for (const int width : {40, 80, 200}) {
        for (const auto& line : MakeHelp(nullptr, width).split(QLatin1Char('\n')))
            EXPECT_LE(GetWidth(line), std::max(width, 60)) << line.toStdString();
    }
}

/// What bash offers for the last of the words.
std::string Complete(const std::string& i_script, const std::string& i_words)
{
    const auto command = "set -f; source '" + i_script + "'; COMP_WORDS=(" + i_words +
                         "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _machinectl; echo \"${COMPREPLY[*]}\"";
    QProcess bash;
    bash.start(QStringLiteral("bash"),
               {QStringLiteral("--norc"), QStringLiteral("-c"), QString::fromStdString(command)});
    EXPECT_TRUE(bash.waitForFinished(20'000));
    EXPECT_EQ(bash.readAllStandardError().toStdString(), "");
    return bash.readAllStandardOutput().trimmed().toStdString();
}

TEST(CommandTableTest, BashCompletesCommandsOptionsAndTheirWords)
{
    const QTemporaryDir folder;
    const auto script = folder.path().toStdString() + "/completion";
    TestSupport::WriteFile(script, MakeBashCompletion().toStdString());
    EXPECT_EQ(Complete(script, "machinectl pa"), "pause");
    EXPECT_EQ(Complete(script, "machinectl --address machines pri"), "printer priority");
    EXPECT_EQ(Complete(script, "machinectl jobs --state proc"), "processing processing-stopped");
    EXPECT_EQ(Complete(script, "machinectl submit --dr"), "--draft");
    EXPECT_EQ(Complete(script, "machinectl show --dr"), "");
    EXPECT_EQ(Complete(script, "machinectl fetch --kind p"), "platform picture");
    EXPECT_EQ(Complete(script, "machinectl completion b"), "bash");
    EXPECT_EQ(Complete(script, "machinectl submit " + script.substr(0, script.size() - 3)), script);
}

} // namespace
