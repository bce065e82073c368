#pragma once

#include <QIcon>
#include <QString>

namespace Workbench {

/// An icon of lines in the colour of the text around it, so that it fits light and dark, at any size and scale.
///
/// \param i_name one of the names of LineIcon.cpp; for any other an icon without a drawing.
QIcon MakeLineIcon(const QString& i_name);

} // namespace Workbench
