#pragma once

#include <QtGlobal>

/// What the host is doing for its user.
enum EProgramModeType : qint16
{
    ProgramModeNone = 0,
    ProgramModePlatform = 1, ///< preparing a build platform: the only mode in which printers matter
    ProgramModeModelling = 2,
    ProgramModeSlices = 3,
};
