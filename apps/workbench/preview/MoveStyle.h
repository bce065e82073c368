#pragma once

#include "workbench/preview/GCodeParser.h"

#include <QColor>
#include <QPalette>
#include <QString>

namespace Workbench {

/// What a kind of move is called, for the user.
QString GetMoveName(MoveKind i_kind);
/// Kinds stand apart from one another and from the background, light or dark, also for those who see few colours: by
/// how light they are.
QColor GetMoveColour(MoveKind i_kind, const QPalette& i_palette);

} // namespace Workbench
