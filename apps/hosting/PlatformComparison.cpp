#include "hosting/PlatformComparison.h"

#include <QCoreApplication>

#include <cmath>
#include <cstddef>

namespace Hosting {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::PlatformComparison)
};

bool AreClose(const TavAM::Transform& i_left, const TavAM::Transform& i_right)
{
    for (std::size_t index = 0; index < i_left.rows.size(); ++index) {
        if (!(std::fabs(i_left.rows[index] - i_right.rows[index]) <= 1e-6))
            return false;
    }
    return true;
}

QString FindPartDifference(const TavAM::Part& i_expected, const TavAM::Part& i_found)
{
    if (i_expected.GetRevisionId() != i_found.GetRevisionId())
        return Texts::tr("another id");
    if (i_expected.GetName() != i_found.GetName())
        return Texts::tr("another name");
    if (!AreClose(i_expected.GetPlacement(), i_found.GetPlacement()))
        return Texts::tr("another place");
    if (!(i_expected.GetRepresentation() == i_found.GetRepresentation()))
        return Texts::tr("another shape");
    if (!(i_expected.GetAMXProperties() == i_found.GetAMXProperties()))
        return Texts::tr("other properties");
    if (i_expected.GetStrategies() != i_found.GetStrategies())
        return Texts::tr("other strategies");
    if (i_expected.HasSupports() != i_found.HasSupports())
        return Texts::tr("another supports flag");
    return {};
}

} // namespace

QString FindDifference(const TavAM::Platform& i_expected, const TavAM::Platform& i_found)
{
    if (i_expected.GetName() != i_found.GetName())
        return Texts::tr("The platform has another name.");
    if (!(i_expected.GetAMXProperties() == i_found.GetAMXProperties()))
        return Texts::tr("The platform has other properties.");
    const auto* expectedMachine = i_expected.GetMachine();
    const auto* foundMachine = i_found.GetMachine();
    if (!expectedMachine != !foundMachine || (expectedMachine && !(*expectedMachine == *foundMachine)))
        return Texts::tr("The platform has another machine.");
    if (i_expected.GetParts().size() != i_found.GetParts().size())
        return Texts::tr("The platform has %1 parts instead of %2.")
            .arg(i_found.GetParts().size())
            .arg(i_expected.GetParts().size());
    for (std::size_t index = 0; index < i_expected.GetParts().size(); ++index) {
        const auto& part = i_expected.GetParts()[index];
        const QString difference = FindPartDifference(part, i_found.GetParts()[index]);
        if (!difference.isEmpty())
            return Texts::tr("The part '%1' has %2.").arg(QString::fromStdWString(part.GetName()), difference);
    }
    return {};
}

} // namespace Hosting
