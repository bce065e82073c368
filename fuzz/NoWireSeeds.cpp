#include "WireSeeds.h"

namespace Fuzz {

std::vector<Seed> MakeWireSeeds()
{
    // Built without the messages.
    return {};
}

} // namespace Fuzz
