#include "commands/CommandsFixture.h"

#include "tavam/FileError.h"
#include "vexlorcore/HostException.h"

#include <QCoreApplication>
#include <QTimer>

namespace {

using namespace TestSupport;

using namespace std::chrono_literals;
using CommandFailuresTest = CommandsFixture;

struct CountingHostException : VexlorCore::HostException
{
    static inline int mgp_alive = 0;
    CountingHostException()
        : HostException(L"h\u00f6st")
    {
        ++mgp_alive;
    }
    ~CountingHostException() override { --mgp_alive; }
};

struct FailureRow
{
    const char* name;
    std::function<void(Script&, ScriptedProvider&)> arrange;
    std::string text;
    int format = 1;
};

CommandResult MakeResult(int i_status, bool i_completed, const char* ip_message = "",
                         DataFormat i_format = DataFormat::Undefined)
{
    CommandResult result;
    result.status = i_status;
    result.completed = i_completed;
    result.message = ip_message;
    result.dataFormat = i_format;
    return result;
}

FailureRow Runs(const char* ip_name, std::function<std::future<CommandResult>(const CommandParameters&)> i_run,
                std::string i_text)
{
    return {ip_name, [i_run](Script& io_script, ScriptedProvider&) { io_script.run = i_run; }, std::move(i_text)};
}

template <class T>
FailureRow ServiceThrows(const char* ip_name, T i_exception, std::string i_text)
{
    const auto run = [i_exception](const CommandParameters&) {
        return MakeFailed<CommandResult>(std::make_exception_ptr(i_exception));
    };
    return Runs(ip_name, run, std::move(i_text));
}

template <class T>
FailureRow HostThrows(const char* ip_name, std::function<void()> ScriptedProvider::*ip_step, T i_exception,
                      std::string i_text)
{
    const auto arrange = [=](Script&, ScriptedProvider& io_provider) {
        io_provider.*ip_step = [i_exception] {
            throw i_exception;
        };
    };
    return {ip_name, arrange, std::move(i_text)};
}

const FailureRow mgp_failures[] = {
    ServiceThrows("code in the table", CommunicationException(ErrorCode::QueuePaused, "own"),
                  "Build Processor queue is paused. Please resume the queue from the Build Processor Manager."),
    ServiceThrows("code outside the table", CommunicationException(ErrorCode::FileError, "own"), "own"),
    ServiceThrows("code without any text", CommunicationException(ErrorCode::InternalError),
                  "The command failed with error code 1."),
    ServiceThrows("standard exception", std::runtime_error("r\u00fcn"), "r\u00fcn"),
    ServiceThrows("host exception by value", VexlorCore::HostException(L"h\u00f6st"), "h\u00f6st"),
    ServiceThrows("unknown exception", 42, "The command failed for an unknown reason."),
    Runs(
        "service throws at once",
        [](const CommandParameters&) -> std::future<CommandResult> {
            throw CommunicationException(ErrorCode::MachineNotFound);
        },
        "Machine cannot be found. Please check the machines added to the Build Processor Manager."),
    Runs(
        "no future", [](const CommandParameters&) { return std::future<CommandResult>(); },
        "Unexpected Build Processor output."),
    Runs("result with status", Leave({"a.TavAMX"}, MakeResult(3, true, "own")), "own"),
    Runs("given up with words only", Leave({"a.TavAMX"}, MakeResult(0, false, "own")), "own"),
    Runs("given up without a word", Leave({"a.TavAMX"}, MakeResult(0, false)),
         "An error occurred while processing the job."),
    Runs("given up with markup", Leave({}, MakeResult(0, false, "<h1>own</h1>")), "own"),
    ServiceThrows("broken promise", std::future_error(std::future_errc::broken_promise),
                  "The service of the machine ended without an answer."),
    {"unknown format", [](Script&, ScriptedProvider&) {}, "Unsupported input file format.", 9},
    Runs("unknown format of the result", Leave({"a"}, MakeResult(0, true, "", static_cast<DataFormat>(9))),
         "Unsupported input file format."),
    Runs("no file of the format", Leave({"result.xml"}), "Unexpected Build Processor output."),
    HostThrows("saving fails", &ScriptedProvider::onSave, TavAM::FileError("disk full"), "disk full"),
    HostThrows("the host cannot run a job", &ScriptedProvider::onStart, std::runtime_error("no job"), "no job"),
    {"loading fails, host exception by pointer",
     [](Script& io_script, ScriptedProvider& io_provider) {
         io_script.run = Leave({"a.TavAMX"});
         io_provider.onLoad = [] {
             throw new CountingHostException();
         };
     },
     "h\u00f6st"},
};

TEST_F(CommandFailuresTest, EveryFailureIsOneCriticalMessageAndFalse)
{
    for (const FailureRow& row : mgp_failures) {
        SCOPED_TRACE(row.name);
        *_script = Script();
        _provider.onStart = _provider.onSave = _provider.onLoad = nullptr;
        _ForgetAll();
        row.arrange(*_script, _provider);
        EXPECT_FALSE(_Submit(CommandType::Build, row.format));
        _ExpectOneFailure(row.text);
        EXPECT_EQ(0, CountingHostException::mgp_alive);
        EXPECT_THAT(_provider.log, Not(Contains(StartsWith("open"))));
    }
}

TEST_F(CommandFailuresTest, MissingScenesAndGettersAreFailuresToo)
{
    _getScene = [] {
        return nullptr;
    };
    EXPECT_FALSE(_Submit());
    _ExpectOneFailure("There is no active scene.");
    _messages.clear();
    _getProvider = nullptr;
    _getScene = [this] {
        return _scene;
    };
    EXPECT_FALSE(_Submit());
    _ExpectOneFailure("bad_function_call");
}

TEST_F(CommandFailuresTest, HostThatCannotShowMessagesGetsNoException)
{
    Vexlor::MessageDialogs::SetHandler([](const Vexlor::Message&) -> int { throw std::runtime_error("no screen"); });
    _script->run = [](const CommandParameters&) {
        return std::future<CommandResult>();
    };
    EXPECT_FALSE(_Submit());
    EXPECT_TRUE(_TempIsEmpty());
}

TEST_F(CommandFailuresTest, CancellingInAnyPhaseIsOneMessageAndIdleWithinASecond)
{
    std::promise<CommandResult> never;
    CommandParameters seen;
    const auto cancel = [this] {
        _host.provider.CancelCurrentJob();
    };
    using Run = FakeBehaviour::Run;
    const Run obeys = [&](const CommandParameters& i_parameters) {
        cancel();
        EXPECT_TRUE(i_parameters.stopToken.stop_requested());
        return MakeFailed<CommandResult>(std::make_exception_ptr(std::runtime_error("engine killed")));
    };
    const Run hasSucceeded = [&](const CommandParameters& i_parameters) {
        cancel();
        return Leave({"a.TavAMX"})(i_parameters);
    };
    const Run neverAnswers = [&](const CommandParameters& i_parameters) {
        never = {};
        seen = i_parameters;
        QTimer::singleShot(0, QCoreApplication::instance(), cancel);
        return never.get_future();
    };
    const std::pair<std::function<void()>, const char*> phases[] = {
        {[&] { _provider.onJob = cancel; }, "before the start"},
        {[&] { _provider.onSave = cancel; }, "while saving"},
        {[&] { _script->run = obeys; }, "the service obeys"},
        {[&] { _script->run = hasSucceeded; }, "the service has succeeded already"},
        {[&] { _script->run = neverAnswers; }, "the service never answers"},
    };
    QTimer timer;
    int ticks = 0;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(1);
    for (const auto& [arrange, name] : phases) {
        ticks = 0;
        SCOPED_TRACE(name);
        *_script = Script();
        _provider.onJob = _provider.onSave = nullptr;
        _ForgetAll();
        arrange();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(_Submit());
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
        _ExpectOneFailure("Job processing was aborted.");
        EXPECT_THAT(_provider.log, Not(Contains(StartsWith("load"))));
    }
    EXPECT_GT(ticks, 10) << "the event loop stood still while a service was waited for";

    // The service that nobody waits for any more reports and answers after all: to nobody.
    const std::size_t reports = _provider.progress.size();
    std::thread([&] {
        seen.onProgress(50, "late");
        never.set_value({});
    }).join();
    EXPECT_EQ(reports, _provider.progress.size());
    EXPECT_EQ(1u, _messages.size());
}

TEST_F(CommandFailuresTest, CancellingWhileLoadingLoadsTheWhole)
{
    _script->run = Leave({"a.TavAMX"});
    _provider.onLoad = [this] {
        _host.provider.CancelCurrentJob();
    };
    EXPECT_TRUE(_Submit());
    EXPECT_TRUE(_messages.empty());
}

} // namespace
