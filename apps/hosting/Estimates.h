#pragma once

#include "tavam/Platform.h"

#include <QString>

#include <optional>
#include <vector>

namespace Hosting {

/// What a machine estimates that a part takes. Texts as the machine wrote them; empty where it told nothing.
struct PartEstimates
{
    QString name;
    QString layers;
    QString cubicCentimetres;

    bool operator==(const PartEstimates&) const = default;
};

/// What a machine estimates that a platform takes. Texts as the machine wrote them; empty where it told nothing.
struct Estimates
{
    QString layers;
    QString seconds;
    QString millimetres;
    QString cubicCentimetres;
    QString grams;
    std::vector<PartEstimates> parts; ///< in the platform's order

    bool operator==(const Estimates&) const = default;
};

/// Empty when the platform carries no estimates: nothing was built.
std::optional<Estimates> ReadEstimates(const TavAM::Platform& i_platform);

} // namespace Hosting
