#pragma once

#include <QString>
#include <QStringList>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace Tour {

/// What the user asked for on the command line.
struct CommandLine
{
    enum class Action
    {
        Run,                 ///< take the meshes to a machine file
        List,                ///< only list the machines
        ExportConfiguration, ///< write the configuration of the machine that is attached
        ShowText,            ///< print `text` to standard output and end with 0
        Refuse,              ///< print `text` to standard error and end with 2
    };

    Action action = Action::Run;
    QString text;
    QString machine; ///< name or id of the machine; empty: the first that fits
    /// Addresses of machine services that take the place of the one in the program; none: that one.
    std::vector<std::string> services;
    bool postsJob = false; ///< to the Machine Manager, and waits for it, instead of building itself
    QString command;       ///< name of the one command to run; empty: all, in the ribbon's order
    std::vector<std::pair<QString, QString>> choices; ///< for the platform: values by id of the choice, ids differ
    std::vector<std::filesystem::path> meshes;        ///< empty: the engine's own examples
};

/// Never exits; the arguments are those of the process, program name first.
CommandLine ParseCommandLine(const QStringList& i_arguments);

} // namespace Tour
