#pragma once

#include "machineservice_export.h"

#include <QDateTime>
#include <QString>

namespace MachineService {

/// Why a command of a printer is disabled, as it was when the command was last updated.
struct MACHINESERVICE_EXPORT CommandRefusal
{
    enum class Kind
    {
        None,               ///< it is enabled
        AnotherCommandRuns, ///< one at a time, whichever machine it is of
        NothingOnPlate,
        SwitchedOff,    ///< in the host's settings
        NotAnsweredYet, ///< the machine was asked for the first time a moment ago
        MachineSilent,  ///< the machine does not answer
        MachineRefuses,
    };

    Kind kind = Kind::None;
    QString machinesWords; ///< with MachineRefuses: one line, may be empty
    QDateTime silentSince; ///< with MachineSilent; local time

    /// One sentence for the user; empty for None.
    QString GetText() const;
    bool operator==(const CommandRefusal& i_other) const;
};

} // namespace MachineService
