#pragma once

#include "machinelayer/MachineRecords.h"

#include <array>

namespace MachineLayer {

/// Names of an enumeration's values, in their order, as an array "names". Where names begin with a capital letter,
/// these do too.
template <class E>
struct Choices;

template <>
struct Choices<Data::BaseplateShape>
{
    static constexpr std::array names = {"rectangle", "circle"};
};
template <>
struct Choices<Data::SupportType>
{
    static constexpr std::array names = {"point", "line", "block", "contour", "gusset", "tree"};
};
template <>
struct Choices<Data::PerforationShape>
{
    static constexpr std::array names = {"diamond", "rectangle", "circle"};
};
template <>
struct Choices<Data::RotationFreedom>
{
    static constexpr std::array names = {"none", "aroundZ", "any"};
};
template <>
struct Choices<Data::ZCompensationKey>
{
    static constexpr std::array names = {"angle", "depth"};
};
template <>
struct Choices<Data::LengthUnit>
{
    static constexpr std::array names = {"millimetre", "centimetre", "metre", "inch"};
};

} // namespace MachineLayer
