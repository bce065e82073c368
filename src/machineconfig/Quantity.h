#pragma once

#include "machinelayer/MachineRecords.h"

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>

namespace MachineService::ConfigurationFormat {

/// What a number measures and may be; never NaN or infinite. The schemas state the same.
struct Quantity
{
    std::string_view unit; ///< as documents name it
    double min;
    double max;
    bool isMinAllowed = true;
};

inline constexpr Quantity Coordinate = {"mm", -1e6, 1e6};
inline constexpr Quantity Length = {"mm", 0, 1e6, false};
inline constexpr Quantity Distance = {"mm", 0, 1e6};
inline constexpr Quantity Offset = {"mm", -1000, 1000};
inline constexpr Quantity Angle = {"deg", 0, 360};

/// A value that no configuration can have; the text says what is wrong with it, without its place.
class FieldError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// \throws FieldError when the number is none or out of range.
void CheckNumber(double i_number, const Quantity& i_quantity);
/// \throws FieldError when the text is no such number.
double ParseNumber(std::string_view i_text, const Quantity& i_quantity);
/// \throws FieldError when the text holds a character that XML cannot carry.
std::string EncodeText(const std::wstring& i_text);
/// Without the blanks and line ends around it.
std::string_view Trimmed(std::string_view i_text);

/// Names of an enumeration's values, in their order, as an array "names".
template <class E>
struct Choices;
template <>
struct Choices<MachineLayer::Data::BaseplateShape>
{
    static constexpr std::array<std::string_view, 2> names = {"Rectangle", "Circle"};
};
template <>
struct Choices<MachineLayer::Data::SupportType>
{
    static constexpr std::array<std::string_view, 6> names = {"Point", "Line", "Block", "Contour", "Gusset", "Tree"};
};
template <>
struct Choices<MachineLayer::Data::PerforationShape>
{
    static constexpr std::array<std::string_view, 3> names = {"Diamond", "Rectangle", "Circle"};
};
template <>
struct Choices<MachineLayer::Data::RotationFreedom>
{
    static constexpr std::array<std::string_view, 3> names = {"None", "AroundZ", "Any"};
};
template <>
struct Choices<MachineLayer::Data::LengthUnit>
{
    static constexpr std::array<std::string_view, 4> names = {"Millimetre", "Centimetre", "Metre", "Inch"};
};

} // namespace MachineService::ConfigurationFormat
