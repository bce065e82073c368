#pragma once

#include "workbench/plate/PlateBed.h"
#include "workbench/plate/PlatePart.h"

#include <boost/uuid/uuid.hpp>

#include <QString>

#include <stop_token>
#include <vector>

namespace Workbench {

/// One part, or two, that cannot be built as they stand.
struct PlateProblem
{
    enum class Kind
    {
        OutsideBed,
        TooHigh,
        BelowPlate,
        InZone,
        Collision,
        Unchecked, ///< two parts are too finely meshed to be compared
    };
    Kind kind = Kind::OutsideBed;
    boost::uuids::uuid part = {};
    boost::uuids::uuid other = {}; ///< of two parts; nil otherwise
    QString text;                  ///< a sentence for the user, which names the parts

    bool operator==(const PlateProblem&) const = default;
    bool Concerns(const boost::uuids::uuid& i_id) const { return part == i_id || (other == i_id && !other.is_nil()); }
};

/// All problems, by part and then by kind. The rules are those that machines refuse platforms by: every corner within
/// the volume to 0.01 mm, no surface crossing another part's, no footprint in a zone that lies between the part's
/// bottom and top.
///
/// Thread: any. \return what was found until the token asked.
std::vector<PlateProblem> FindProblems(const PlateBed& i_bed, const std::vector<PlatePart>& i_parts,
                                       const std::stop_token& i_stop);

} // namespace Workbench
