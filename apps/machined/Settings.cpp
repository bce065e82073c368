#include "machined/Settings.h"

#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/RuntimeFolder.h"
#include "tavsdk/Text.h"

#include <array>
#include <charconv>
#include <functional>
#include <sstream>

namespace Machined {

namespace {

constexpr std::uint64_t MaxConfigurationBytes = 1 << 20;
constexpr const char* ConfigurationName = "machined.conf";

std::uint64_t ReadNumber(const std::string& i_text, std::uint64_t i_least, std::uint64_t i_most)
{
    std::uint64_t number = 0;
    const auto end = i_text.data() + i_text.size();
    const auto result = std::from_chars(i_text.data(), end, number);
    if (i_text.empty() || result.ec != std::errc() || result.ptr != end || number < i_least || number > i_most)
        throw WrongUsage("it is no whole number from " + std::to_string(i_least) + " to " + std::to_string(i_most) +
                         '.');
    return number;
}

Settings::Offer ReadOffer(const std::string& i_text)
{
    if (i_text == "no")
        return Settings::Offer::Machines;
    if (i_text == "also")
        return Settings::Offer::MachinesAndManager;
    if (i_text == "only")
        return Settings::Offer::Manager;
    throw WrongUsage("it is one of \"no\", \"also\" and \"only\".");
}

/// One option, by the same name on the command line ("--name VALUE") and in the file ("name = VALUE").
struct Option
{
    const char* name;
    const char* value;
    const char* help;
    std::function<void(Settings&, const std::string&)> set;
};

const std::array Options{
    Option{"socket", "PATH", "unix socket; \"none\": there is none",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.socket = i_text == "none" ? std::string() : i_text;
           }},
    Option{"listen", "HOST:PORT", "also listens there, with TLS; may be given several times",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.listen.push_back(i_text);
           }},
    Option{"certificate", "FILE", "certificate for --listen, PEM",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.certificate = i_text;
           }},
    Option{"key", "FILE", "its private key, PEM",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.key = i_text;
           }},
    Option{"client-ca", "FILE", "hosts need a certificate of this CA, and no token",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.clientCa = i_text;
           }},
    Option{"tokens", "FILE", "tokens that let hosts in, see machined token",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.tokens = i_text;
           }},
    Option{"data", "FOLDER", "where jobs and settings of the machines are kept",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.data = i_text;
           }},
    Option{"engine", "FILE", "the slicing engine",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.engine = i_text;
           }},
    Option{"drain-seconds", "N", "what runs have to end in when the daemon is stopped",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.drain = std::chrono::seconds(ReadNumber(i_text, 0, 3600));
           }},
    Option{"heartbeat-ms", "N", "how often hosts hear that the daemon is there",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.heartbeat = std::chrono::milliseconds(ReadNumber(i_text, 100, 60'000));
           }},
    Option{"connections", "N", "most connections on the socket",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.connections = ReadNumber(i_text, 1, 100'000);
           }},
    Option{"streams", "N", "most catalogs and runs that are listened to",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.streams = ReadNumber(i_text, 1, 100'000);
           }},
    Option{"runs", "N", "most runs of one host at a time",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.runsOfOneClient = ReadNumber(i_text, 1, 1000);
           }},
    Option{"upload-megabytes", "N", "largest input of a run",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.uploadBytes = ReadNumber(i_text, 1, 1'000'000) << 20;
           }},
    Option{"manager", "WHAT", "\"also\": keeps jobs for the machines as well; \"only\": offers nothing else; \"no\"",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.offer = ReadOffer(i_text);
           }},
    Option{"store", "ADDRESS", "of the jobs: sqlite:/FILE or postgresql://USER@HOST/DATABASE",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.store = i_text;
           }},
    Option{"files", "FOLDER", "of the jobs' files; the same for all daemons at one store",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.files = i_text;
           }},
    Option{"name", "NAME", "of this daemon among those at one store; the same after a restart",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.daemonName = i_text;
           }},
    Option{"keep-days", "N", "how long jobs that are over are kept",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.kept = std::chrono::hours(24 * ReadNumber(i_text, 1, 36'500));
           }},
    Option{"keep-gigabytes", "N", "what all files of jobs may take; the oldest jobs that are over go first",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.keptBytes = ReadNumber(i_text, 1, 1'000'000) * 1'000'000'000;
           }},
    Option{"job-megabytes", "N", "largest platform file of a job",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.jobBytes = ReadNumber(i_text, 1, 4'000) * 1'000'000;
           }},
    Option{"page-connections", "N", "most connections of page and programs at a time; others come again later",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.pageConnections = static_cast<int>(ReadNumber(i_text, 1, 10'000));
           }},
    Option{"page", "HOST:PORT", "of the jobs; \"none\": there is none; port 0: the system chooses",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.page = i_text == "none" ? std::string() : i_text;
           }},
    Option{"page-address", "URL", "as browsers of other computers reach the page",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.pageAddress = i_text;
           }},
    Option{"idle-minutes", "N", "ends by itself when nobody was there and nothing to do for so long; 0: never",
           [](Settings& o_settings, const std::string& i_text) {
               o_settings.idle = std::chrono::minutes(ReadNumber(i_text, 0, 100'000));
           }},
};

void Set(Settings& o_settings, const std::string& i_name, const std::string& i_value, const std::string& i_shown)
{
    for (const auto& option : Options) {
        if (option.name != i_name)
            continue;
        try {
            option.set(o_settings, i_value);
        } catch (const WrongUsage& wrong) {
            throw WrongUsage("The value " + TavSDK::Quote(i_value) + " of " + i_shown +
                             " cannot be used: " + wrong.what());
        }
        return;
    }
    throw WrongUsage(i_shown + " is not known; machined --help names what there is.");
}

std::string Trim(const std::string& i_text)
{
    const auto begin = i_text.find_first_not_of(" \t\r");
    return begin == std::string::npos ? std::string()
                                      : i_text.substr(begin, i_text.find_last_not_of(" \t\r") - begin + 1);
}

/// \param i_is_needed or it may not be there.
void ReadFile(Settings& o_settings, const std::string& i_file, bool i_is_needed)
{
    std::istringstream lines;
    try {
        const auto path = TavSDK::PathFromUtf8(i_file);
        auto file =
            i_is_needed ? std::optional<TavSDK::InputFile>(std::in_place, path) : TavSDK::InputFile::OpenIfThere(path);
        if (!file)
            return;
        lines.str(file->ReadAll(MaxConfigurationBytes));
    } catch (const TavSDK::FileError& error) {
        throw WrongUsage("The configuration " + TavSDK::Quote(i_file) + " cannot be read: " + error.what() + '.');
    }
    o_settings.configuration = i_file;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        line = Trim(line);
        if (line.empty() || line.front() == '#')
            continue;
        const auto place = "line " + std::to_string(number) + " of " + TavSDK::Quote(i_file);
        const auto equals = line.find('=');
        if (equals == std::string::npos)
            throw WrongUsage("The " + place + " cannot be read; write NAME = VALUE.");
        const auto name = Trim(line.substr(0, equals));
        Set(o_settings, name, Trim(line.substr(equals + 1)), TavSDK::Quote(name) + " in " + place);
    }
}

void Check(const Settings& i_settings)
{
    if (i_settings.listen.empty())
        return;
    if (i_settings.certificate.empty() || i_settings.key.empty())
        throw WrongUsage("There is no way without TLS between hosts; give --listen a --certificate and a --key.");
}

/// The file comes before the rest of the command line, wherever it is named.
void ReadFiles(Settings& o_settings, const std::vector<std::string>& i_arguments)
{
    for (std::size_t place = 0; place + 1 < i_arguments.size(); ++place) {
        if (i_arguments[place] == "--config")
            ReadFile(o_settings, i_arguments[place + 1], true);
        else if (i_arguments[place] == "--config-folder")
            o_settings.configurationFolder = TavSDK::PathFromUtf8(i_arguments[place + 1]);
    }
    // Another file takes the place of the one in the folder.
    if (o_settings.configuration.empty() && !o_settings.configurationFolder.empty())
        ReadFile(o_settings, (o_settings.configurationFolder / ConfigurationName).native(), false);
}

} // namespace

Settings ReadSettings(const std::vector<std::string>& i_arguments)
{
    Settings settings;
    ReadFiles(settings, i_arguments);
    for (std::size_t place = 0; place < i_arguments.size(); ++place) {
        const auto& word = i_arguments[place];
        if (word == "--help" || word == "-h") {
            settings.help = true;
        } else if (word == "--check-config") {
            settings.checkOnly = true;
        } else if (word == "--print-address") {
            settings.printAddress = true;
        } else if (!word.starts_with("--")) {
            settings.command.push_back(word);
        } else if (place + 1 == i_arguments.size()) {
            throw WrongUsage(TavSDK::Quote(word) + " needs a value; machined --help tells which.");
        } else if (++place; word != "--config" && word != "--config-folder") {
            Set(settings, word.substr(2), i_arguments[place], TavSDK::Quote(word));
        }
    }
    if (!settings.help && settings.command.empty())
        Check(settings);
    return settings;
}

std::string GetHelp()
{
    std::string help =
        "machined offers the printers of this computer to hosts, by the machine service protocol, and "
        "keeps jobs for them.\n\n"
        "machined [OPTION ...]\n"
        "machined token add NAME [ROLE] | list | role NAME ROLE | rotate NAME | revoke NAME [--tokens FILE]\n"
        "         ROLE: see, submit (jobs of its own; without a role this one), operate\n\n"
        "  --config FILE         the options below as lines NAME = VALUE\n"
        "  --config-folder FOLDER  has that file, as machined.conf where there is one, and the tokens\n"
        "  --check-config        only tells whether everything can be used\n"
        "  --print-address       prints each address, and \"ready\", on standard output\n";
    for (const auto& option : Options) {
        std::string line = "  --" + std::string(option.name) + ' ' + option.value;
        line.resize(std::max<std::size_t>(line.size() + 1, 24), ' ');
        help += line + option.help + '\n';
    }
    return help + "\nSIGTERM lets runs end and stops; SIGHUP reads profiles and certificates again.\n"
                  "Ends with 0; 1: it could not do it; 2: wrong usage.\n";
}

std::string GetSocket(const Settings& i_settings)
{
    if (i_settings.socket)
        return *i_settings.socket;
    try {
        const auto* const name = i_settings.offer == Settings::Offer::Manager ? "manager.sock" : "machined.sock";
        return (TavSDK::GetRuntimeFolder() / "machineservice" / name).native();
    } catch (const TavSDK::FileError& error) {
        throw WrongUsage(error.what());
    }
}

std::filesystem::path GetInterfaceSocket(const Settings& i_settings)
{
    const std::filesystem::path socket = GetSocket(i_settings);
    return socket.empty() ? socket : std::filesystem::path(socket).replace_extension(".http");
}

std::filesystem::path GetManagerFolder()
{
    try {
        return TavSDK::GetUserFolder(TavSDK::UserFolder::Data) / "machineservice" / "manager";
    } catch (const TavSDK::FileError& error) {
        throw WrongUsage(error.what());
    }
}

std::filesystem::path GetTokenFile(const Settings& i_settings)
{
    if (!i_settings.tokens.empty())
        return i_settings.tokens;
    if (!i_settings.configurationFolder.empty())
        return i_settings.configurationFolder / "tokens";
    try {
        return TavSDK::GetUserFolder(TavSDK::UserFolder::Configuration) / "machineservice" / "machined" / "tokens";
    } catch (const TavSDK::FileError& error) {
        throw WrongUsage(error.what());
    }
}

} // namespace Machined
