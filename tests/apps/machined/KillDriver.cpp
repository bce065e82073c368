#include "apps/machined/KillDriver.h"

#include "support/Test.h"
#include "tavam/AMXFileReader.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Path.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace TestSupport {

using namespace MachineService;

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto Service = ServiceId(FirstEndpointService);
constexpr auto LongestRecovery = std::chrono::seconds(5);
constexpr auto LongestRun = std::chrono::seconds(60);
constexpr auto Look = std::chrono::milliseconds(10);

std::string NameOf(int i_blow)
{
    static const char* const names[] = {"daemon killed", "engine killed", "connection cut", "cut after some bytes",
                                        "daemon stopped"};
    return names[i_blow];
}

} // namespace

KillDriver::KillDriver(std::uint32_t i_seed)
    : _random(i_seed)
{
    for (const char* name : {"tmp", "recorded", "data"})
        std::filesystem::create_directory(_Path(name));
    // Where a file is no results can be kept: each build goes to the engine.
    WriteFile(_Path("data/cache"), "");
    _WriteEngine();
}

KillDriver::~KillDriver()
{
    _remote.reset();
}

void KillDriver::_WriteEngine() const
{
    const std::string folder = _folder.GetAbsoluteDir();
    // It first leaves half of the machine file.
    WriteFile(_Path("engine"), "#!/bin/sh\nfolder='" + folder + R"('
case "$*" in
--help) exec prusa-slicer --help ;;
*--dont-arrange*) kind=slice; echo run >> "$folder/slicings"; echo $$ > "$folder/engine.pid" ;;
*--save*) kind=save ;;
*) kind=other ;;
esac
for argument; do
    case "$previous" in
    --save | --output) output=$argument ;;
    --load) settings=$argument ;;
    esac
    previous=$argument
done
sum=$(md5sum < "$settings")
recorded="$folder/recorded/$kind-${sum%% *}"
if [ ! -f "$recorded.said" ]; then
    prusa-slicer "$@" > "$folder/said.$$" || exit
    cp "$output" "$recorded"
    cat "$folder/said.$$"
    mv "$folder/said.$$" "$recorded.said"
    exit
fi
head -c 3000 "$recorded" > "$output"
[ $kind != slice ] || sleep 0.1
cp "$recorded" "$output"
cat "$recorded.said"
)");
    chmod(_Path("engine").c_str(), 0700);
}

void KillDriver::_StartDaemon()
{
    const auto text = [this](const char* ip_name) {
        return QString::fromStdString(_Path(ip_name));
    };
    _daemon = std::make_unique<ServedProgram>(
        QStringLiteral(MACHINED),
        QStringList{QStringLiteral("--socket"), text("own/socket"), QStringLiteral("--data"), text("data"),
                    QStringLiteral("--engine"), text("engine"), QStringLiteral("--heartbeat-ms"), QStringLiteral("500"),
                    QStringLiteral("--print-address")},
        std::vector<std::pair<QString, QString>>{{QStringLiteral("TMPDIR"), text("tmp")},
                                                 {QStringLiteral("XDG_CONFIG_HOME"), text("config")},
                                                 {QStringLiteral("XDG_CACHE_HOME"), text("cache")}});
    ASSERT_FALSE(_daemon->WaitUntilReady().empty()) << _daemon->GetErrors();
}

void KillDriver::Prepare()
{
    _StartDaemon();
    const std::string path = _Path("proxy");
    _proxy = std::make_unique<SocketProxy>(path, _Path("own/socket"));
    _remote = std::make_unique<Remote::RemoteCatalog>(
        Service, ServiceEndpoint{"unix:" + path, {}},
        std::make_unique<Testing::TestUtility>(_Path("host"), std::map<std::string, std::string>()));
    ASSERT_TRUE(_remote->Start(Service));
    const auto end = Clock::now() + LongestRun;
    while (_build.is_nil() && Clock::now() < end) {
        std::this_thread::sleep_for(Look);
        for (const Machine& machine : _remote->GetMachines()) {
            if (machine.GetMachineData().name != "Kestrel 180")
                continue;
            _machine = machine.GetMachineData().id;
            for (const auto& command : machine.GetCommands().get())
                _build = command.type == CommandType::Build ? command.id : _build;
        }
    }
    ASSERT_FALSE(_build.is_nil());
    _ExpectRecovered();
    _machines = _remote->GetMachineIds();
    // The second one is as quick as those that follow.
    for (const char* job : {"first", "second"}) {
        const auto begin = Clock::now();
        _remote->GetMachine(_machine).RunCommand(_MakeParameters(job)).get();
        _usual = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
        _machineFile = ReadFile(_Path("out") / (std::string(job) + ".gcode"));
        _ExpectResult(job);
    }
    EXPECT_EQ(_CountSlicings(), 2u);
}

CommandParameters KillDriver::_MakeParameters(const std::string& i_job)
{
    TavAM::Platform platform;
    platform.SetName(L"plate");
    platform.GetParts() = {Testing::MakePart(L"cube", Testing::ToRepresentation(Testing::MakeBox(20, 20, 0, 8, 8, 3)))};
    std::filesystem::remove_all(_Path("out"));
    std::filesystem::create_directory(_Path("out"));
    CommandParameters parameters;
    parameters.commandId = _build;
    parameters.jobName = i_job;
    parameters.inputFile = _Path("in.TavAMX");
    parameters.outputDir = _Path("out");
    TavAM::AMXFileWriter().WriteFile(parameters.inputFile, platform);
    return parameters;
}

std::size_t KillDriver::_CountSlicings() const
{
    const auto text = ReadFile(_Path("slicings"));
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

void KillDriver::_Strike(Blow i_blow)
{
    switch (i_blow) {
    case Blow::KillDaemon:
        _daemon->Signal(SIGKILL);
        _daemon->WaitForEnd();
        return _StartDaemon();
    case Blow::KillEngine:
        // One that has ended is not another process yet: numbers come again only after all others.
        if (const auto process = std::atoi(ReadFile(_Path("engine.pid")).c_str()); process > 0)
            ::kill(process, SIGKILL);
        std::filesystem::remove(_Path("engine.pid"));
        return;
    case Blow::CutConnection:
        return _proxy->CloseAll();
    case Blow::CutAfterBytes:
        return _proxy->CloseAfter(std::uniform_int_distribution<std::size_t>(0, 2 * _machineFile.size())(_random));
    case Blow::StopDaemon:
        _daemon->Signal(SIGSTOP);
        std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution(0, 300)(_random)));
        return _daemon->Signal(SIGCONT);
    }
}

void KillDriver::StandStill()
{
    const auto before = _CountSlicings();
    const auto machine = _remote->GetMachine(_machine);
    auto result = machine.RunCommand(_MakeParameters("still"));
    const auto end = Clock::now() + LongestRun;
    while (_CountSlicings() == before && Clock::now() < end)
        std::this_thread::sleep_for(Look);
    _daemon->Signal(SIGSTOP);
    CanRunAnswer answer{true, {}};
    // One that was asked before waits for its answer as long as any.
    while (answer.reason.empty() && Clock::now() < end) {
        std::this_thread::sleep_for(Look);
        try {
            answer = machine.TryExplain()->ExplainCanRunCommand(_build).get();
        } catch (const CommunicationException& failure) {
            answer.reason = failure.what();
        }
    }
    EXPECT_THAT(answer.reason, HasSubstr("does not answer"));
    _daemon->Signal(SIGCONT);
    EXPECT_TRUE(result.get().completed);
    _ExpectResult("still");
    EXPECT_EQ(_CountSlicings(), before + 1);
    _ExpectRecovered();
}

void KillDriver::DoRound(int i_number)
{
    const auto blow = std::uniform_int_distribution(0, 4)(_random);
    const auto longest = static_cast<int>(_usual.count());
    const std::chrono::milliseconds moment(std::uniform_int_distribution(0, longest)(_random));
    const std::string job = "round " + std::to_string(i_number);
    SCOPED_TRACE(job + ": " + NameOf(blow) + " after " + std::to_string(moment.count()) + " ms");
    std::filesystem::remove(_Path("engine.pid"));
    const auto before = _CountSlicings();
    auto result = _remote->GetMachine(_machine).RunCommand(_MakeParameters(job));
    result.wait_for(moment);
    _Strike(Blow(blow));
    ASSERT_EQ(result.wait_for(LongestRun), std::future_status::ready);
    std::string end = "built";
    try {
        EXPECT_TRUE(result.get().completed);
        _ExpectResult(job);
    } catch (const CommunicationException& failure) {
        std::string text = failure.what();
        if (const auto place = text.find(_folder.GetAbsoluteDir()); place != std::string::npos)
            text.replace(place, _folder.GetAbsoluteDir().string().size(), "FOLDER");
        end = text;
        EXPECT_THAT(text, MatchesRegex("[A-Z].*\\.")) << "one sentence";
        _ExpectNothingOf(job);
    }
    // Each build goes to the engine once: what the host did not ask for again was not carried out again.
    EXPECT_LE(_CountSlicings(), before + 1);
    ++_ends[NameOf(blow) + ": " + end];
    _proxy->CloseAfter(SIZE_MAX);
    _ExpectRecovered();
    if (!_machines.empty()) {
        EXPECT_EQ(_remote->GetMachineIds(), _machines);
    }
}

void KillDriver::_ExpectRecovered()
{
    const auto begin = Clock::now();
    bool canRun = false;
    while (!canRun && Clock::now() - begin < LongestRecovery) {
        try {
            canRun = _remote->GetMachine(_machine).CanRunCommand(_build).get();
        } catch (const CommunicationException&) {
            // The connection broke under the question: it is asked again.
        }
        if (!canRun)
            std::this_thread::sleep_for(Look);
    }
    EXPECT_TRUE(canRun) << "the machine is not back";
    _longestRecovery =
        std::max(_longestRecovery, std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin));
}

void KillDriver::_ExpectResult(const std::string& i_job)
{
    TavAM::Database database;
    TavAM::AMXFileReader reader;
    ASSERT_TRUE(reader.ReadFile(_Path("out/platform.TavAMX"), database)) << reader.GetError();
    const auto named =
        database.GetPlatform(0)->GetAMXProperties().GetText(TavAM::PropertyNames::Print3D::MachineFile).value_or(L"");
    const auto file = TavSDK::PathFromWide(named);
    EXPECT_EQ(file.filename(), i_job + ".gcode");
    EXPECT_TRUE(file.string().starts_with(_Path("host/data/jobs").string())) << file;
    EXPECT_TRUE(ReadFile(file) == _machineFile) << "not the whole machine file";
}

void KillDriver::_ExpectNothingOf(const std::string& i_job)
{
    const auto jobs = _Path("host/data/jobs");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(jobs))
        EXPECT_NE(entry.path().filename().string().substr(0, i_job.size()), i_job) << entry.path();
    EXPECT_THAT(GetFileNames(_Path("out")), Not(Contains(".incoming")));
}

void KillDriver::Finish()
{
    _remote.reset();
    _daemon->Signal(SIGTERM);
    EXPECT_EQ(_daemon->WaitForEnd(), 0) << _daemon->GetErrors();
    EXPECT_THAT(GetFileNames(_Path("tmp")), IsEmpty());
}

std::string KillDriver::GetFigures() const
{
    std::string text = "a build takes " + std::to_string(_usual.count()) + " ms; the machine was back at the latest " +
                       std::to_string(_longestRecovery.count()) + " ms after its end\n";
    for (const auto& [end, count] : _ends)
        text += "  " + std::to_string(count) + " " + end + '\n';
    return text;
}

} // namespace TestSupport
