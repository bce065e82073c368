#pragma once

#include "tavam/Geometry.h"
#include "vexlorcore/meshimport/Package3mf.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace VexlorCore {

/// An object that is placed: by a build item, or as a component of another object.
struct Placed3mf
{
    std::string path; ///< of the model that holds the object; empty for the one that names it
    std::string id;
    std::string partNumber;
    TavAM::Transform transform; ///< Units: the model's.
};

struct Object3mf
{
    std::string name; ///< else its part number
    std::string type;
    std::vector<TavAM::Point3f> vertices; ///< Units: the model's.
    std::vector<std::array<std::uint32_t, 3>> triangles;
    std::vector<Placed3mf> components;
};

/// One model of a 3MF package: the core of the format, and of its extensions those that place objects (production) or
/// tell nothing of their form (materials, triangle sets).
struct Model3mf
{
    /// What the models of a package hold together. It is counted while they are read.
    struct Counts
    {
        std::size_t vertices = 0;
        std::size_t triangles = 0;
        std::size_t objects = 0;
        std::size_t components = 0;
        std::size_t items = 0;
    };

    double millimetresPerUnit = 1;
    std::map<std::string, Object3mf, std::less<>> objects; ///< by id
    std::vector<Placed3mf> items;                          ///< of the build section that are to be printed

    /// \throws std::runtime_error with the path and the reason.
    static Model3mf Read(const Package3mf& i_package, const std::string& i_path, Counts& io_counts);
};

} // namespace VexlorCore
