#include "core/ManagerLauncher.h"

#include "contract/Failure.h"
#include "core/OwnFolder.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/RuntimeFolder.h"
#include "tavsdk/Text.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <vector>

namespace MachineService {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds StartTime(10);
constexpr const char* ProgramName = "machined";

std::filesystem::path GetSocketPath()
{
    return TavSDK::GetRuntimeFolder() / "machineservice" / "manager.sock";
}

bool IsListening(const std::filesystem::path& i_socket)
{
    sockaddr_un address = {};
    if (i_socket.native().size() >= sizeof(address.sun_path))
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, i_socket.c_str(), i_socket.native().size());
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isListening =
        connection >= 0 && connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    if (connection >= 0)
        close(connection);
    return isListening;
}

std::filesystem::path FindProgram(const AbstractPluginUtility& i_utility)
{
    if (const auto told = i_utility.GetSetting("manager.program"); told && !told->empty())
        return TavSDK::PathFromUtf8(*told);
    const auto own = GetOwnFolder();
    // Installed; built, for the library and for tests that link this without it.
    for (const char* const place : {"../bin", "../../bin", "../apps/machined", "../../apps/machined"}) {
        auto file = own / place / ProgramName;
        if (!own.empty() && access(file.c_str(), X_OK) == 0)
            return file;
    }
    std::istringstream folders(std::getenv("PATH") ? std::getenv("PATH") : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        const auto file = std::filesystem::path(folder) / ProgramName;
        if (!folder.empty() && access(file.c_str(), X_OK) == 0)
            return file;
    }
    Fail(ErrorCode::InternalError, "The program 'machined', which keeps jobs, was not found; install it, or name it by "
                                   "the setting manager.program.");
}

std::vector<std::string> MakeCommand(const AbstractPluginUtility& i_utility, const std::filesystem::path& i_socket)
{
    std::vector<std::string> command = {FindProgram(i_utility).native(),
                                        "--manager",
                                        "only",
                                        "--socket",
                                        i_socket.native(),
                                        "--idle-minutes",
                                        "10",
                                        "--print-address"};
    if (const auto engine = i_utility.GetSetting("engine.path"); engine && !engine->empty())
        command.insert(command.end(), {"--engine", *engine});
    return command;
}

/// Starts the program as nobody's child, with its words going to the returned descriptor and the log.
int Launch(const std::vector<std::string>& i_command, const std::filesystem::path& i_log)
{
    std::vector<char*> words;
    for (const auto& word : i_command)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    // A host's folder for temporary files may be its own, and go with it.
    std::vector<char*> environment;
    for (char** entry = environ; *entry; ++entry) {
        if (std::strncmp(*entry, "TMPDIR=", std::strlen("TMPDIR=")) != 0)
            environment.push_back(*entry);
    }
    environment.push_back(nullptr);
    int ends[2] = {-1, -1};
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    const int log = open(i_log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
    const bool isReady = null >= 0 && pipe2(ends, O_CLOEXEC) == 0;
    // Between the forks only what may be called there: other threads of the host hold locks.
    const pid_t child = isReady ? fork() : -1;
    if (child == 0) {
        setsid();
        if (fork() != 0)
            _exit(0);
        dup2(null, STDIN_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        dup2(log >= 0 ? log : null, STDERR_FILENO);
        if (chdir("/") == 0)
            execve(words.front(), words.data(), environment.data());
        _exit(127);
    }
    for (const int file : {null, log, ends[1]}) {
        if (file >= 0)
            close(file);
    }
    if (child < 0) {
        if (ends[0] >= 0)
            close(ends[0]);
        Fail(ErrorCode::InternalError,
             std::string("The Machine Manager cannot be started: ") + std::strerror(errno) + '.');
    }
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return ends[0];
}

/// Until the program says that it is ready, ends, or takes too long.
void AwaitReady(int i_output, const std::stop_token& i_stop)
{
    std::string said;
    const auto end = Clock::now() + StartTime;
    while (said.find("ready\n") == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || i_stop.stop_requested())
            return;
        // Often enough to hear the token.
        constexpr std::int64_t interval = 100;
        pollfd polled = {i_output, POLLIN, 0};
        if (poll(&polled, 1, static_cast<int>(std::min(left, interval))) == 0)
            continue;
        char bytes[512];
        const auto count = read(i_output, bytes, sizeof(bytes));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        said.append(bytes, static_cast<std::size_t>(count));
    }
}

/// Another host may have been faster: its manager is as good, and may still be on its way.
bool AwaitListening(const std::filesystem::path& i_socket, const std::stop_token& i_stop)
{
    constexpr std::chrono::seconds longest(2);
    constexpr int interval = 20; // ms
    for (const auto end = Clock::now() + longest; !IsListening(i_socket); poll(nullptr, 0, interval)) {
        if (Clock::now() > end || i_stop.stop_requested())
            return false;
    }
    return true;
}

std::string ReadLastLine(const std::filesystem::path& i_log)
{
    std::string last;
    if (const int file = open(i_log.c_str(), O_RDONLY | O_CLOEXEC); file >= 0) {
        char bytes[4096];
        const auto count = read(file, bytes, sizeof(bytes));
        close(file);
        std::istringstream lines(std::string(bytes, count > 0 ? static_cast<std::size_t>(count) : 0));
        for (std::string line; std::getline(lines, line);)
            last = line;
    }
    return last;
}

} // namespace

std::string GetManagerAddress()
{
    return "unix:" + GetSocketPath().native();
}

void EnsureManager(const AbstractPluginUtility& i_utility, const std::stop_token& i_stop)
{
    try {
        const auto socket = GetSocketPath();
        if (IsListening(socket))
            return;
        const auto folder = socket.parent_path();
        std::error_code ignored;
        if (std::filesystem::create_directories(folder, ignored))
            chmod(folder.c_str(), S_IRWXU);
        const auto log = folder / "manager.log";
        const int output = Launch(MakeCommand(i_utility, socket), log);
        AwaitReady(output, i_stop);
        close(output);
        if (i_stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        if (AwaitListening(socket, i_stop))
            return;
        const auto last = ReadLastLine(log);
        constexpr std::size_t longest = 300;
        Fail(ErrorCode::InternalError,
             "The Machine Manager did not start" +
                 (last.empty() ? std::string(".") : "; it said " + TavSDK::Quote(last, longest) + '.'));
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::InternalError, failure.what());
    }
}

} // namespace MachineService
