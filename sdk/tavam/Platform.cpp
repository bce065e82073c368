#include "tavam/Platform.h"

#include <algorithm>

namespace TavAM {

Part* Platform::FindPart(const boost::uuids::uuid& i_revision_id)
{
    const auto found = std::find_if(_parts.begin(), _parts.end(), [&i_revision_id](const Part& i_part) {
        return i_part.GetRevisionId() == i_revision_id;
    });
    return found == _parts.end() ? nullptr : &*found;
}

} // namespace TavAM
