#pragma once

#include "workbench/posted/IJobSource.h"

namespace Workbench {

/// Of the user's own Machine Manager; nothing is asked before one is made and used.
MakeJobSource MakeOwnManagerSource();

} // namespace Workbench
