#include "machine-check/Session.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace {

enum ExitCode
{
    Kept = 0,
    Broken = 1,
    BadUsage = 2,
};

constexpr const char* Usage =
    "machine-check ADDRESS [OPTION ...] looks whether a machine service keeps the rules of the protocol.\n\n"
    "ADDRESS is unix:/PATH or tls://HOST:PORT.\n"
    "  --json         prints JSON in the place of the table\n"
    "  --junit FILE   also writes the outcome there, as test runners read it\n"
    "  --ca FILE      certificates that are trusted, PEM; otherwise the system's\n"
    "  --token-file FILE  holds the token that the service asks for\n\n"
    "Ends with 0; 1: a rule is broken, or the service cannot be reached; 2: wrong usage.\n";

struct Arguments
{
    MachineCheck::Target target;
    std::string junitFile;
    bool isJson = false;
    bool isHelp = false;
};

/// Empty when they are wrong.
std::optional<Arguments> Read(const std::vector<std::string>& i_words)
{
    Arguments arguments;
    for (std::size_t place = 0; place < i_words.size(); ++place) {
        const auto& word = i_words[place];
        const bool hasValue = place + 1 < i_words.size();
        if (word == "--help")
            arguments.isHelp = true;
        else if (word == "--json")
            arguments.isJson = true;
        else if (word == "--junit" && hasValue)
            arguments.junitFile = i_words[++place];
        else if (word == "--ca" && hasValue)
            arguments.target.caFile = i_words[++place];
        else if (word == "--token-file" && hasValue)
            std::getline(std::ifstream(i_words[++place]), arguments.target.token);
        else if (arguments.target.address.empty() && (word.starts_with("unix:") || word.starts_with("tls://")))
            arguments.target.address = word;
        else
            return std::nullopt;
    }
    if (arguments.target.address.empty() && !arguments.isHelp)
        return std::nullopt;
    return arguments;
}

int Run(const Arguments& i_arguments)
{
    const auto report = MachineCheck::CheckService(i_arguments.target);
    std::fputs((i_arguments.isJson ? report.ToJson() : report.ToTable()).c_str(), stdout);
    if (!i_arguments.junitFile.empty() && !(std::ofstream(i_arguments.junitFile) << report.ToJUnit()).flush()) {
        std::fprintf(stderr, "The file '%s' cannot be written.\n", i_arguments.junitFile.c_str());
        return Broken;
    }
    return report.HasFindings() ? Broken : Kept;
}

} // namespace

int main(int i_argc, char** ip_argv)
{
    const auto arguments = Read(std::vector<std::string>(ip_argv + 1, ip_argv + i_argc));
    if (!arguments || arguments->isHelp) {
        std::fputs(Usage, arguments ? stdout : stderr);
        return arguments ? Kept : BadUsage;
    }
    try {
        return Run(*arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return Broken;
    }
}
