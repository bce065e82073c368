#pragma once

#include "buildprocessor/PreparationRules.h"

#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

namespace MachineService::BuildProcessor::ReceivedFields {

// The fields of a machine configuration that this service takes, by the path of their elements from the section on.

/// A text that a field cannot have; becomes the failure with the field's place.
class FieldError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The rules while they are read; fields belong to the last of their lists.
struct Reading
{
    PreparationRules& rules;
    std::set<std::string, std::less<>> surfaceTypes;
    SupportKind usedKind = SupportKind::Point;
    std::string usedProfile;
};

/// An element with elements in it.
struct Record
{
    std::string_view path;
    bool isRepeatable = false;
    void (*open)(Reading&) = nullptr;
    void (*close)(Reading&) = nullptr;
};

struct Quantity
{
    std::string_view unit;
    double min;
    double max;
    bool isMinAllowed = true;
};

using RulesMember = std::optional<double> PreparationRules::*;
using SupportMember = std::optional<double> SupportProfile::*;
using ZoneMember = double NoBuildZone::*;

/// An element with a text in it.
struct Field
{
    std::string_view path;
    bool isRequired;
    const Quantity* quantity; ///< null for texts
    std::variant<RulesMember, SupportMember, ZoneMember, void (*)(Reading&, const std::string&)> target;
};

/// Null when there is none with that path.
const Record* FindRecord(std::string_view i_path);
const Field* FindField(std::string_view i_path);
/// Tag of a required field of the record that was not seen; empty when there is none.
std::string_view FindMissing(const Record& i_record, const std::set<std::string, std::less<>>& i_seen);
/// \throws FieldError.
void SetField(const Field& i_field, const std::string& i_text, Reading& io_reading);
/// For messages: in quotes, on one line, and cut.
std::string Quote(std::string_view i_text);

} // namespace MachineService::BuildProcessor::ReceivedFields
