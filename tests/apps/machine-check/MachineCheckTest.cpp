#include "apps/machine-check/FaultyService.h"
#include "client/interface/ScopedTempDir.h"
#include "machine-check/Rules.h"
#include "machine-check/Session.h"
#include "support/Files.h"
#include "support/ServedProgram.h"
#include "support/Test.h"

#include <QString>

namespace {

using namespace TestSupport;

/// Every fault is found by the check of the rule that it breaks.
TEST(MachineCheckTest, FindsEachFaultByItsRule)
{
    const struct
    {
        Fault fault;
        std::vector<std::string> rules;
    } rows[] = {
        {Fault::None, {}},
        {Fault::RevisionZero, {"I1"}},
        {Fault::NoName, {"I2"}},
        {Fault::NoLastPage, {"C1"}},
        {Fault::OtherEpoch, {"C2"}},
        {Fault::FallingRevision, {"C3"}},
        {Fault::NilMachine, {"C4"}},
        {Fault::NamelessMachine, {"C5"}},
        {Fault::DoubleCommand, {"C6"}},
        {Fault::WrongIcon, {"C7"}},
        {Fault::NoHeartbeat, {"C8"}},
        {Fault::OtherMachines, {"C9"}},
        {Fault::FlatVolume, {"C10"}},
        {Fault::WrongLanguage, {"C11"}},
        {Fault::AnswerForOther, {"A1"}},
        {Fault::KnowsEveryMachine, {"A2"}},
        {Fault::HeaderLate, {"P1"}},
        {Fault::PieceDamaged, {"P2"}},
        {Fault::PlatformShort, {"P3"}},
        {Fault::PlatformPercentFalls, {"P4"}},
        {Fault::StartsAtOnce, {"R1"}},
        {Fault::ForgetsOnRestart, {"R2"}},
        {Fault::TakesDamage, {"R3"}},
        {Fault::NeverBegins, {"R4"}},
        {Fault::PercentFalls, {"R5"}},
        {Fault::WatchNeverEnds, {"R6"}},
        {Fault::FailureWithoutCode, {"R7"}},
        {Fault::FileDamaged, {"R8"}},
        {Fault::CancelIgnored, {"R9"}},
        {Fault::KnowsEveryRun, {"R10"}},
        {Fault::ReleaseTwiceRefused, {"R11"}},
        {Fault::BuildWithoutMachineFile, {"R12"}},
        {Fault::BuildWithTwoFiles, {"R12"}},
        {Fault::NoneButSecret, {}},
        {Fault::LetsAnybodyIn, {"U1"}},
        {Fault::AcceptsAnySecret, {"U2"}},
        {Fault::TakesAnyToken, {"U3"}},
        {Fault::ResumesBehind, {"W1"}},
        {Fault::ResumesEveryEpoch, {"W2"}},
        {Fault::ChangeWithItems, {"M1"}},
        {Fault::TakesDamagedChange, {"M2"}},
        {Fault::StrategyTwice, {"S1"}},
        {Fault::WantsHashAtOnce, {"R13"}},
    };
    for (const auto& row : rows) {
        const MachineService::ScopedTempDir folder;
        const auto address = "unix:" + (folder.GetAbsoluteDir() / "socket").string();
        const FaultyService service(address, row.fault);
        const auto report = MachineCheck::CheckService({address, {}, FaultyServiceToken, std::chrono::seconds(2)});
        const auto found = report.GetFoundRules();
        if (row.rules.empty()) {
            EXPECT_THAT(found, IsEmpty()) << report.ToTable();
        }
        for (const auto& rule : row.rules)
            EXPECT_THAT(found, Contains(rule)) << report.ToTable();
    }
}

TEST(MachineCheckTest, HasTheRulesOfTheProtocol)
{
    const auto page = ReadFile(PROTOCOL_RULES);
    for (const auto& rule : MachineCheck::GetRules())
        EXPECT_THAT(page, HasSubstr("| " + std::string(rule.id) + " | " + rule.sentence + " |"));
}

/// Ours keep the rules.
TEST(MachineCheckTest, PassesWhatWeServe)
{
    const MachineService::ScopedTempDir folder;
    const auto socket = folder.GetAbsoluteDir() / "socket";
    const auto text = QString::fromStdString(folder.GetAbsoluteDir().string());
    const struct
    {
        QString program;
        QStringList arguments;
    } rows[] = {
        {QStringLiteral(MACHINED),
         {QStringLiteral("--print-address"), QStringLiteral("--heartbeat-ms"), QStringLiteral("500"),
          QStringLiteral("--socket"), QString::fromStdString(socket.string())}},
        {QStringLiteral(FOAM_CUTTER_SERVER), {QString::fromStdString("unix:" + socket.string())}},
        {QStringLiteral("/usr/bin/python3"),
         {QStringLiteral(EXAMPLES "/service.py"), QString::fromStdString("unix:" + socket.string())}},
    };
    for (const auto& row : rows) {
        ServedProgram program(row.program, row.arguments,
                              {{QStringLiteral("XDG_CONFIG_HOME"), text},
                               {QStringLiteral("XDG_DATA_HOME"), text},
                               {QStringLiteral("XDG_CACHE_HOME"), text}});
        program.WaitUntilReady();
        QProcess check;
        check.start(QStringLiteral(MACHINE_CHECK), {QString::fromStdString("unix:" + socket.string()),
                                                    QStringLiteral("--junit"), text + QStringLiteral("/junit.xml")});
        ASSERT_TRUE(check.waitForFinished(60'000));
        EXPECT_EQ(check.exitCode(), 0) << row.program.toStdString() << '\n'
                                       << check.readAllStandardOutput().toStdString()
                                       << check.readAllStandardError().toStdString();
        EXPECT_THAT(ReadFile(folder.GetAbsoluteDir() / "junit.xml"), HasSubstr("failures=\"0\""));
    }
    QProcess wrong;
    wrong.start(QStringLiteral(MACHINE_CHECK), {QStringLiteral("nonsense")});
    ASSERT_TRUE(wrong.waitForFinished(60'000));
    EXPECT_EQ(wrong.exitCode(), 2);
    wrong.start(QStringLiteral(MACHINE_CHECK), {QStringLiteral("--json"), QStringLiteral("unix:/nowhere")});
    ASSERT_TRUE(wrong.waitForFinished(60'000));
    EXPECT_EQ(wrong.exitCode(), 1);
}

} // namespace
