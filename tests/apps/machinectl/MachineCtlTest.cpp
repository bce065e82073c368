#include "apps/machinectl/MachineCtlFixture.h"
#include "support/Texts.h"

#include <QRegularExpression>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace TestSupport;

TEST_F(MachineCtlTest, TakesAPlatformToItsMachineFile)
{
    const auto outcome =
        Run({"submit", WritePlatform(), "--machine", to_string(MakeId(1)), "--wait", "--name", "First"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, "1 completed (job-completed-successfully)\n");
    EXPECT_EQ(outcome.errors, "") << "progress is for terminals";
    EXPECT_EQ(Run({"fetch", "1"}).output, "plate.gcode\n");
    EXPECT_EQ(TestSupport::ReadFile(manager.GetFolder() / "plate.gcode"), "G28\n");
    EXPECT_EQ(Run({"fetch", "1"}).status, 1) << "the user's files stay";
    EXPECT_EQ(Run({"fetch", "1", "--kind", "platform", "--to", "data"}).status, 0);
    EXPECT_THAT(Run({"show", "1"}).output, AllOf(HasSubstr("First"), HasSubstr("completed"), HasSubstr("received")));
    const auto watched = Run({"watch", "1"});
    EXPECT_EQ(watched.status, 0);
    EXPECT_THAT(watched.output, HasSubstr("1 completed"));
    EXPECT_THAT(Run({"open", "1"}).output, StartsWith(manager.page->GetAddress() + "/jobs/"));
    EXPECT_EQ(Run({"open"}).output, manager.page->GetAddress() + "\n");
}

TEST_F(MachineCtlTest, PrintsJobsForProgramsWithTheFieldsOfTheDocument)
{
    EXPECT_EQ(Run({"jobs", "--json"}).output, "[]\n");
    manager.Pause();
    for (int count = 0; count < 3; ++count)
        ASSERT_EQ(Run({"submit", WritePlatform(), "--machine", to_string(MakeId(1))}).status, 0);
    // The names of the schema's members, from the document itself.
    const auto text = TestSupport::ReadFile(MANAGER_API);
    const auto document = QString::fromStdString(text.substr(text.find("\n  schemas:\n")));
    const auto schema = QRegularExpression(QStringLiteral("\n    Job:\n.*?required: \\[([^\\]]*)\\]"),
                                           QRegularExpression::DotMatchesEverythingOption)
                            .match(document)
                            .captured(1);
    auto names = schema.split(QRegularExpression(QStringLiteral("[,\\s]+")), Qt::SkipEmptyParts);
    names.sort();
    ASSERT_TRUE(names.contains(QStringLiteral("reasons")));
    const auto jobs = Ask({"jobs"}).array();
    ASSERT_EQ(jobs.size(), 3);
    for (const auto& job : jobs) {
        EXPECT_EQ(job.toObject().keys(), names);
        EXPECT_EQ(job.toObject().value(QStringLiteral("state")).toString(), QStringLiteral("pending"));
        EXPECT_TRUE(job.toObject().value(QStringLiteral("reasons")).isArray());
    }
    EXPECT_EQ(Ask({"jobs", "--state", "completed"}).array().size(), 0);
    EXPECT_EQ(Ask({"jobs", "--mine", "--machine", to_string(MakeId(1)), "plate"}).array().size(), 3);
    EXPECT_EQ(Ask({"jobs", "--machine", to_string(MakeId(2))}).array().size(), 0);
}

TEST_F(MachineCtlTest, DoesWithJobsAndMachinesWhatItIsTold)
{
    manager.Pause();
    const auto first = to_string(MakeId(1));
    const auto second = to_string(MakeId(2));
    EXPECT_EQ(
        AskFor({"submit", WritePlatform(), "--machine", first, "--draft", "--copies", "3", "--priority", "9"}, "state"),
        "pending-held");
    EXPECT_EQ(AskFor({"show", "1"}, "copies"), "3");
    EXPECT_EQ(AskFor({"release", "1"}, "state"), "pending");
    EXPECT_EQ(AskFor({"hold", "1"}, "state"), "pending-held");
    EXPECT_EQ(AskFor({"priority", "1", "80"}, "priority"), "80");
    EXPECT_EQ(AskFor({"copy", "1"}, "number"), "2");
    EXPECT_EQ(AskFor({"cancel", "2"}, "state"), "canceled");
    EXPECT_EQ(AskFor({"acknowledge", "1"}, "state"), "pending-held");
    EXPECT_EQ(
        Ask({"move", "1", second}).object().value(QStringLiteral("target")).toObject().value(QStringLiteral("machine")),
        QString::fromStdString(second));
    EXPECT_EQ(Run({"move", "1", "--group", "kes", "--material", "PETG"}).status, 0);
    EXPECT_THAT(Run({"jobs"}).output, HasSubstr("any Kestrel with PETG"));
    EXPECT_EQ(AskFor({"resume", first}, "paused"), "false");
    EXPECT_EQ(AskFor({"pause", first, "--reason", "dust"}, "pauseReason"), "dust");
    EXPECT_EQ(Run({"loaded", first, "--material", "PETG", "--nozzle", "0.4"}).output, "PETG, 0.4 mm\n");
    EXPECT_EQ(Run({"loaded", first, "--plate", "Smooth", "--nozzle", ""}).output, "PETG, Smooth\n");
    EXPECT_EQ(AskFor({"loaded", first}, "material"), "PETG");
    EXPECT_EQ(Ask({"machines"}).array().size(), 2);
    EXPECT_EQ(AskFor({"describe", first}, "id"), first);
    EXPECT_EQ(Ask({"printer", first, "none"}).object().value(QStringLiteral("printer")), QJsonValue());
}

TEST_F(MachineCtlTest, AGroupTakesAJobToTheMachineThatFits)
{
    const auto first = to_string(MakeId(1));
    ASSERT_EQ(Run({"loaded", first, "--material", "PLA"}).status, 0);
    ASSERT_EQ(Run({"loaded", to_string(MakeId(2)), "--material", "PETG"}).status, 0);
    manager.world.catalog.Put(3); // of another model, and asked nothing
    const auto group = Ask({"describe", "--group", "Kestrel", "--material", "PETG"}).object();
    EXPECT_EQ(group.value(QStringLiteral("model")).toString(), QStringLiteral("Kestrel"));
    const auto machines = group.value(QStringLiteral("machines")).toArray();
    ASSERT_EQ(machines.size(), 2);
    EXPECT_EQ(machines[0].toObject().value(QStringLiteral("hindrance")).toString(),
              QStringLiteral("PLA is loaded, not PETG."));
    EXPECT_EQ(machines[1].toObject().value(QStringLiteral("hindrance")).toString(), QString());
    EXPECT_THAT(Run({"describe", "--group", "kestrel"}).output, AllOf(HasSubstr("Machine 1"), HasSubstr("Machine 2")));
    const auto platform = manager.world.WritePlatform(L"PETG").native();
    ASSERT_EQ(Run({"submit", platform, "--group", "Kestrel", "--material", "PETG", "--wait"}).status, 0);
    EXPECT_EQ(AskFor({"show", "1"}, "machine"), "Machine 2");
    for (const Words& words : {Words{"submit", platform, "--group", "Kestrel", "--machine", first},
                               {"submit", platform, "--machine", first, "--material", "PETG"},
                               {"describe"},
                               {"move", "1"}})
        EXPECT_EQ(Run(words).status, 2) << words.front();
    EXPECT_EQ(Run({"describe", "--group", "Halcyon"}).status, 3);
}

TEST_F(MachineCtlTest, EveryExitStatusIsMeantAsDocumented)
{
    manager.Pause();
    const auto machine = to_string(MakeId(1));
    ASSERT_EQ(Run({"submit", WritePlatform(), "--machine", machine}).status, 0);
    ASSERT_EQ(Run({"cancel", "1"}).status, 0);
    TestSupport::WriteFile(manager.GetFolder() / "text.TavAMX", "no platform");
    const struct
    {
        Words words;
        int status;
    } rows[] = {
        {{"frobnicate"}, 2},
        {{"jobs", "--state", "lost"}, 2},
        {{"priority", "1", "200"}, 2},
        {{"submit", WritePlatform()}, 2},
        {{"submit", WritePlatform(), "--machine", machine, "--id", "7"}, 2},
        {{"submit", "text.TavAMX", "--machine", machine}, 2},
        {{"loaded", machine, "--nozzle", "wide"}, 2},
        {{"printer", machine, "[]"}, 2},
        {{"completion", "fish"}, 2},
        {{"show", "99"}, 3},
        {{"priority", "99", "50"}, 3},
        {{"copy", "99"}, 3},
        {{"describe", "Nobody"}, 3},
        {{"fetch", "1"}, 3},
        {{"hold", "1"}, 4},
        {{"submit", "absent.TavAMX", "--machine", machine}, 1},
        {{"estimate", "text.TavAMX"}, 1},
        {{"estimate", WritePlatform()}, 1},
    };
    for (const auto& row : rows) {
        const auto outcome = Run(row.words);
        EXPECT_EQ(outcome.status, row.status) << row.words.front() << ": " << outcome.errors;
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
    }
    manager.page.reset();
    EXPECT_EQ(Run({"jobs"}).status, 6);
}

TEST_F(MachineCtlTest, NamesOfOthersReachNobodysTerminal)
{
    manager.Pause();
    auto data = TestSupport::MakeMachineData(3);
    data.name = "Evil\x1b[2J\u202e";
    manager.world.catalog.Put(3);
    manager.world.catalog.Set(TestSupport::MakeFakeMachine(data, manager.world.behaviour));
    auto job = manager.world.MakeJob();
    job.name = "\u202egnp.\u65e5\u672c\u2028\xc2\x9bm";
    manager.world.Submit(job);
    for (const Words& words : {Words{"jobs"}, {"show", "1"}, {"machines"}, {"hold", "1"}, {"show", "\x1b[31m"}}) {
        const auto outcome = Run(words);
        const auto text = outcome.output + outcome.errors;
        for (const char* const hostile : {"\x1b", "\u202e", "\u2028", "\xc2\x9b"})
            EXPECT_THAT(text, Not(HasSubstr(hostile))) << words.front();
    }
    EXPECT_THAT(Run({"jobs"}).output, HasSubstr("\ufffdgnp.\u65e5\u672c\ufffd\ufffdm  pending"));
}

TEST_F(MachineCtlTest, CutsAndColoursForATerminalOnly)
{
    manager.Pause();
    auto job = manager.world.MakeJob();
    job.name = "A plate with a name that is much longer than what is left of a line";
    manager.world.Submit(job);
    const auto wide = Run({"jobs"}).output;
    EXPECT_THAT(wide, AllOf(HasSubstr(job.name), Not(HasSubstr("\t")), Not(HasSubstr("\x1b"))));
    const auto show = [&](const std::string& i_variables) {
        QProcess terminal;
        terminal.setProcessEnvironment(environment);
        terminal.start(QStringLiteral("script"),
                       {QStringLiteral("-qec"),
                        QString::fromStdString("stty cols 40; " + i_variables + " '" MACHINECTL "' --address " +
                                               manager.GetAddress() + " jobs"),
                        QStringLiteral("/dev/null")});
        return Finish(terminal).output;
    };
    SetVariable("TERM", "xterm");
    const auto coloured = show("");
    EXPECT_THAT(coloured, AllOf(HasSubstr("\x1b[33m"), HasSubstr("\u2026"), Not(HasSubstr(job.name))));
    const auto plain = show("NO_COLOR=1");
    EXPECT_THAT(plain, AllOf(Not(HasSubstr("\x1b")), HasSubstr("\u2026")));
    for (const auto& line : QString::fromStdString(plain).split(QStringLiteral("\r\n")))
        EXPECT_LE(line.size(), 40) << line.toStdString();
}

TEST_F(MachineCtlTest, AnInterruptionEndsItWhateverItWaitsFor)
{
    manager.Pause();
    auto job = manager.world.Submit(manager.world.MakeJob());
    for (const Words& words : {Words{"watch"}, {"watch", "1"}}) {
        Words all{"--address", manager.GetAddress()};
        all.insert(all.end(), words.begin(), words.end());
        const auto process = Start(all);
        // A line tells that it listens.
        const auto isListening = [&] {
            manager.world.Desk().SetPriority(Operator, job.id, job.priority = job.priority % 100 + 1);
            manager.world.Desk().Act(Operator, job.id,
                                     manager.world.Desk().Get(Operator, job.id).phase == JobPhase::Held
                                         ? JobAction::Release
                                         : JobAction::Hold);
            return process->waitForReadyRead(200);
        };
        int tries = 0;
        while (!isListening() && ++tries < 100) {
        }
        ::kill(static_cast<pid_t>(process->processId()), SIGINT);
        EXPECT_EQ(Finish(*process).status, 130) << words.size();
    }
}

TEST_F(MachineCtlTest, SpeaksGerman)
{
    SetVariable("LC_ALL", "de_DE.UTF-8");
    EXPECT_THAT(Run({"jobs"}).errors, HasSubstr("Es gibt keine solchen Auftr\u00e4ge."));
    EXPECT_THAT(Run({"--help"}).output, HasSubstr("Befehle:"));
}

TEST_F(MachineCtlTest, StartsTheUsersOwnManagerWhereThereIsNone)
{
    const auto program = manager.GetFolder() / "manager";
    const auto note = manager.GetFolder() / "pid";
    TestSupport::WriteFile(program, "#!/bin/sh\necho $$ > '" + note.native() + "'\nexec '" MACHINED "' \"$@\"\n");
    std::filesystem::permissions(program, std::filesystem::perms(0700));
    SetVariable("MACHINESERVICE_MANAGER_PROGRAM", program.native());
    const auto outcome = Finish(*Start({"jobs", "--json"}));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, "[]\n");
    const auto first = TestSupport::ReadFile(note);
    EXPECT_EQ(Finish(*Start({"machines"})).status, 0);
    EXPECT_EQ(TestSupport::ReadFile(note), first) << "the one that runs is taken";
    const int pid = std::stoi(first);
    ASSERT_GT(pid, 1);
    EXPECT_EQ(::kill(pid, SIGTERM), 0);

    SetVariable("MACHINESERVICE_MANAGER_PROGRAM", "/nowhere/at/all");
    SetVariable("XDG_RUNTIME_DIR", (manager.GetFolder() / "data").native());
    EXPECT_EQ(Finish(*Start({"jobs"})).status, 6);
}

} // namespace
