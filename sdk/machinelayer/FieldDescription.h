#pragma once

#include "machinelayer_export.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace MachineLayer {

struct Node;

/// What a number measures and may be; never NaN or infinite.
struct Quantity
{
    const char* unit; ///< as documents name it
    double min;
    double max;
    bool isMinAllowed = true;
};

inline constexpr Quantity Coordinate = {"mm", -1e6, 1e6};
inline constexpr Quantity Length = {"mm", 0, 1e6, false};
inline constexpr Quantity Distance = {"mm", 0, 1e6};
inline constexpr Quantity Offset = {"mm", -1000, 1000};
inline constexpr Quantity Angle = {"deg", 0, 360};

/// The formats that records are written in.
enum class Format
{
    Pldf,     ///< fields are attributes of elements
    Sections, ///< fields are elements, each section has a namespace; names begin with a capital letter
};

/// A value that a field cannot have, or an element where it cannot be. what() ends without a full stop.
class FieldError : public std::invalid_argument
{
public:
    using std::invalid_argument::invalid_argument;
};

/// A field, or an element with fields, as one format has it.
struct Field
{
    enum class Kind
    {
        Text,
        Number,
        Choice,
        Record,
    };

    Kind kind = Kind::Record;
    Format format = Format::Pldf;
    std::string name;
    std::string path; ///< of the namespace; empty but for documents and sections
    bool isRequired = false;
    bool isRepeatable = false;
    bool isEmptyAllowed = false;          ///< an empty text counts as none
    bool isKeyed = false;                 ///< no two of its parent have the same first field
    bool isAlternative = false;           ///< its parent has at most one of those that are
    const Quantity* quantity = nullptr;   ///< of a number
    std::vector<std::string> choices;     ///< of a choice, in the order of the enumeration
    std::vector<Field> fields;            ///< of a record, in the order of the format
    void (*check)(const Node&) = nullptr; ///< of a record with rules over several fields; throws FieldError
};

/// Of a machine's data as PLDF; the root has no name.
const Field& GetPldfDescription();
/// Of a document with sections.
MACHINELAYER_EXPORT const Field& GetConfigurationDescription();

/// The text as a field of this kind keeps it.
/// \throws FieldError when it cannot have it.
std::string_view CheckText(const Field& i_field, std::string_view i_text);
/// \throws FieldError.
void CheckNumber(double i_number, const Quantity& i_quantity);
/// \throws FieldError.
double ParseNumber(std::string_view i_text, const Quantity& i_quantity);
/// Without the blanks and line ends around it.
std::string_view Trim(std::string_view i_text);

/// For messages: in quotation marks, on one line, and cut where it gets long.
std::string Quote(std::string_view i_text);

} // namespace MachineLayer
