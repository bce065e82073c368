#pragma once

#include <string>
#include <vector>

namespace Fuzz {

struct Seed
{
    std::string target;
    std::string name;
    std::string bytes;
};

/// What hosts and services say to each other, as our own writers make it.
std::vector<Seed> MakeWireSeeds();

} // namespace Fuzz
