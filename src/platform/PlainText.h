#pragma once

#include <QString>

namespace MachineService {

/// Longest text of a service or a file that is shown in a message: a few sentences can be read, megabytes cannot.
inline constexpr int MaxMessageLength = 1000;

/// Foreign words as a message box, a button or a tooltip may show them: at most so many characters, an ellipsis where
/// they were cut, nothing that a toolkit would take for markup, no control characters but line feeds, and one
/// replacement character for bytes in a row that are no text.
/// Thread: any.
QString ToPlainText(const QString& i_text, int i_max_length = MaxMessageLength);

} // namespace MachineService
