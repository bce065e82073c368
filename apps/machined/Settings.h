#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Machined {

/// What the daemon was told, by its configuration file and then by its command line.
struct Settings
{
    std::optional<std::string> socket; ///< empty text: no socket
    std::vector<std::string> listen;   ///< HOST:PORT, each with TLS
    std::string certificate;
    std::string key;
    std::string clientCa;
    std::filesystem::path tokens; ///< file; empty: in the configuration folder
    /// Of the file and of tokens; empty: the user's for tokens, and no file.
    std::filesystem::path configurationFolder;
    std::string configuration;  ///< the file that was read; or none
    std::filesystem::path data; ///< empty: the user's folder of the Build Processors
    std::string engine;         ///< path of the engine; empty: of the search path
    std::chrono::milliseconds drain = std::chrono::seconds(20);
    std::size_t connections = 256;
    std::size_t streams = 512;
    std::size_t runsOfOneClient = 16;
    std::uint64_t uploadBytes = 4ULL << 30;
    std::chrono::milliseconds heartbeat = std::chrono::seconds(5);
    /// What is offered.
    enum class Offer
    {
        Machines, ///< of the Build Processors
        Manager,  ///< the Machine Manager, whose jobs go to those
        MachinesAndManager,
    };
    Offer offer = Offer::Machines;
    std::string store;           ///< of the manager's jobs; empty: a file in the user's data folder
    std::filesystem::path files; ///< of the manager's jobs; empty: a folder beside that
    std::string daemonName = "machined";
    std::chrono::hours kept = std::chrono::hours(24 * 90); ///< of the manager's jobs that are over
    std::uint64_t keptBytes = 50'000'000'000;              ///< of the manager's files
    std::uint64_t jobBytes = 4'000'000'000;                ///< of a job's platform file
    int pageConnections = 96;
    std::optional<std::string> page; ///< HOST:PORT; empty text: no page
    std::string pageAddress;         ///< as browsers reach it from elsewhere
    std::chrono::minutes idle{0};    ///< ends by itself after so long without host and work; 0: never
    bool printAddress = false;
    bool checkOnly = false;
    bool help = false;
    std::vector<std::string> command; ///< `token add NAME`
};

/// The words of a command line or a file are wrong; the text is a sentence.
class WrongUsage : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// \param i_arguments without the program's name.
/// \throws WrongUsage, also for what the configuration file holds.
Settings ReadSettings(const std::vector<std::string>& i_arguments);
/// What `--help` prints.
std::string GetHelp();
/// Where the socket is, and the file of tokens, when nothing else was told.
/// \throws WrongUsage when the user has no such folder.
std::string GetSocket(const Settings& i_settings);
std::filesystem::path GetTokenFile(const Settings& i_settings);
/// Folder of the manager's store, files and sessions.
std::filesystem::path GetManagerFolder();
/// Where programs of this computer reach the manager's interface: beside the socket; empty: nowhere.
std::filesystem::path GetInterfaceSocket(const Settings& i_settings);

} // namespace Machined
