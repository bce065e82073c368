#pragma once

#include <QString>
#include <QStringList>

namespace Workbench {

struct CommandLine
{
    QStringList files;    ///< to open or to import
    QStringList services; ///< addresses; none: the services of this program
    QString screenshot;   ///< file to write; empty: the window stays open
    QString steps;        ///< file with steps to play first; may be empty
    QString text;         ///< to print and end with
    bool isWrong = false; ///< the text says why
};

/// \param i_arguments with the program's name.
CommandLine ParseCommandLine(const QStringList& i_arguments);

} // namespace Workbench
