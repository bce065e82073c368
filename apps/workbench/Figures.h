#pragma once

#include "Transcript.h"

#include "tavam/Platform.h"

#include <QString>

namespace Workbench {

/// Empty when the object does not have it.
QString GetProperty(const TavAM::Object& i_object, const wchar_t* ip_name);

/// False when the platform has no figures: nothing was built.
bool ShowFigures(const TavAM::Platform& i_platform, Transcript& io_transcript);

} // namespace Workbench
