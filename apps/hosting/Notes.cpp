#include "hosting/Notes.h"

#include "tavam/PropertyNames.h"

#include <QString>

namespace Hosting {

QStringList ReadNotes(const TavAM::Platform& i_platform)
{
    const auto notes = i_platform.GetAMXProperties().GetText(TavAM::PropertyNames::Print3D::Notes);
    return QString::fromStdWString(notes.value_or(L"")).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace Hosting
