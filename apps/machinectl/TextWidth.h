#pragma once

#include <QString>
#include <QStringList>

#include <string>

namespace MachineCtl {

// Texts of others on a terminal. Names of jobs and machines come from anybody: none may move the cursor, colour the
// screen, begin a line of its own, or turn around what stands beside it.

/// The text on one line, with U+FFFD in the place of what is no character to be seen: control characters, those that
/// change the direction of writing, separators of lines, halves of surrogate pairs.
QString CleanText(const QString& i_text);
QString CleanText(const std::string& i_text);

/// Cells that a clean text takes: two for wide characters, none for marks on others.
int GetWidth(const QString& i_text);
/// At most so many cells of a clean text, with an ellipsis where something is left out.
QString CutText(const QString& i_text, int i_width);
/// Lines of at most so many cells, broken at spaces; a word that is longer stands alone.
QStringList WrapText(const QString& i_text, int i_width);

} // namespace MachineCtl
