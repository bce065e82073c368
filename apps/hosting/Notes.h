#pragma once

#include "tavam/Platform.h"

#include <QStringList>

namespace Hosting {

/// What the machine told beside the outcome of its last command, sentences for the user; in its language.
QStringList ReadNotes(const TavAM::Platform& i_platform);

} // namespace Hosting
