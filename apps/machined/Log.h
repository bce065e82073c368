#pragma once

#include <string>

namespace Machined {

/// A line of the log, on standard error: with the time, unless the journal adds it. Control characters are shown as
/// question marks.
/// Thread: any.
void Log(const std::string& i_line);
/// What Qt and the services tell goes the same way.
void TakeQtMessages();

} // namespace Machined
