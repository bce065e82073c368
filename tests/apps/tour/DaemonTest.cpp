#include "apps/tour/TourFixture.h"

#include <regex>
#include <sstream>

namespace {

using TestSupport::Texts;

/// The real program on the real daemon.
class DaemonTest : public TestSupport::TourFixture
{
protected:
    /// What the daemon makes lies where no host looks.
    void StartDaemon()
    {
        _daemon.setProcessEnvironment(_environment);
        _daemon.start(QStringLiteral(MACHINED_PROGRAM),
                      {QStringLiteral("--socket"), QString::fromStdString(Path("socket/machined")),
                       QStringLiteral("--data"), QString::fromStdString(Path("daemon")),
                       QStringLiteral("--print-address")});
        QByteArray told;
        while (!told.contains("ready") && _daemon.waitForReadyRead(30'000))
            told += _daemon.readAllStandardOutput();
        ASSERT_TRUE(told.contains("ready")) << _daemon.readAllStandardError().toStdString();
    }
    ~DaemonTest() override
    {
        if (_daemon.state() != QProcess::NotRunning) {
            _daemon.terminate();
            EXPECT_TRUE(_daemon.waitForFinished(30'000));
        }
    }
    /// The lines that do not tell of the time at which they were made, or of how quickly.
    static std::string GetLasting(const std::string& i_text)
    {
        static const std::regex mgp_passing("( %  )|( on \\d{4}-\\d\\d-\\d\\d at )|(^; generated )");
        std::istringstream lines(i_text);
        std::string lasting;
        for (std::string line; std::getline(lines, line);) {
            if (!std::regex_search(line, mgp_passing))
                lasting += line + '\n';
        }
        return lasting;
    }

    std::string GetAddress() const { return "unix:" + Path("socket/machined"); }

    QProcess _daemon;
};

TEST_F(DaemonTest, TheMainJobComesOutTheSameAsWithTheServiceInTheProgram)
{
    const Texts job{"--machine", "Kestrel 180", MakeMesh()};
    const auto embedded = Run(job);
    ASSERT_EQ(embedded.status, 0) << embedded.output << embedded.errors;
    const auto machineFile = Read("out/part.gcode");
    std::filesystem::remove_all(Path("out"));
    StartDaemon();
    Texts servedJob{"--service", GetAddress()};
    servedJob.insert(servedJob.end(), job.begin(), job.end());
    const auto served = Run(servedJob);
    ASSERT_EQ(served.status, 0) << served.output << served.errors;
    ASSERT_THAT(FilesIn("daemon", ".gcode"), SizeIs(1));
    std::filesystem::remove_all(Path("daemon"));
    // In which order a service lists its machines is its own affair.
    const auto fromPrinterOn = [](const std::string& i_text) {
        return i_text.substr(i_text.find("\nPrinter\n"));
    };
    EXPECT_EQ(GetLasting(fromPrinterOn(served.output)), GetLasting(fromPrinterOn(embedded.output)));
    EXPECT_EQ(GetLasting(Read("out/part.gcode")), GetLasting(machineFile));
    // The host's own, which the platform names.
    const auto kept = FilesIn("out/machines", ".gcode");
    ASSERT_THAT(kept, SizeIs(1));
    EXPECT_EQ(TestSupport::ReadFile(kept.front()), Read("out/part.gcode"));
    EXPECT_THAT(served.output, HasSubstr(kept.front()));
    EXPECT_TRUE(std::filesystem::exists(Path("out/platform.TavAMX")));
}

TEST_F(DaemonTest, AServiceThatCannotBeHadIsOneSentence)
{
    const auto absent = Run({"--list", "--service", GetAddress()});
    EXPECT_EQ(absent.status, 1);
    EXPECT_THAT(absent.errors, HasSubstr("No machine service answers at '" + GetAddress() + "': start it there"));
    const auto wrong = Run({"--list", "--service", "ftp://host"});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_THAT(wrong.errors, HasSubstr("The address 'ftp://host' is none of a machine service"));
    EXPECT_EQ(Run({"--service", " "}).status, 2);
}

TEST_F(DaemonTest, TheUsersListOfServicesAddsMachinesOrSaysWhatIsWrongWithIt)
{
    const auto list = Path("config/machineservice/services.json");
    TestSupport::WriteFile(list, R"({"services": [{"address": ")" + GetAddress() + R"("}]})");
    // One that is away takes nothing else with it.
    const auto away = Run({"--list"});
    EXPECT_EQ(away.status, 0) << away.errors;
    EXPECT_THAT(away.output, HasSubstr("Kestrel 180"));
    for (const auto& [text, sentence] : std::vector<std::pair<std::string, std::string>>{
             {R"({"services": [{"adress": "unix:/x"}]})", "services[0].address"},
             {R"({"services": [], "more": 1})", "more"},
             {"{", "not JSON at byte"}}) {
        TestSupport::WriteFile(list, text);
        const auto outcome = Run({"--list"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.errors, HasSubstr(list)) << text;
        EXPECT_THAT(outcome.errors, HasSubstr(sentence)) << text;
    }
}

} // namespace
