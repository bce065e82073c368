#include "buildprocessor/ReceivedFields.h"

#include <QString>

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

namespace MachineService::BuildProcessor::ReceivedFields {

namespace {

constexpr std::size_t MaxZones = 1000;

constexpr Quantity Length{"mm", 0, 1e6, false};
constexpr Quantity Distance{"mm", 0, 1e6};
constexpr Quantity Coordinate{"mm", -1e6, 1e6};
constexpr Quantity Angle{"deg", 0, 360};

std::string_view Trimmed(std::string_view i_text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t begin = i_text.find_first_not_of(blanks);
    return begin == std::string_view::npos ? std::string_view()
                                           : i_text.substr(begin, i_text.find_last_not_of(blanks) - begin + 1);
}

double ParseNumber(std::string_view i_text, const Quantity& i_quantity)
{
    std::string_view text = Trimmed(i_text);
    // Schemas allow a plus sign, from_chars does not.
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw FieldError("is " + Quote(text) + ", which is no number");
    // Not-a-number is in no range.
    if (!(number >= i_quantity.min && number <= i_quantity.max) ||
        (number == i_quantity.min && !i_quantity.isMinAllowed))
        throw FieldError("is " + Quote(text) + " and out of its range");
    return number;
}

template <class Choice, std::size_t Count>
Choice ParseChoice(std::string_view i_text, const std::array<std::string_view, Count>& i_names)
{
    const auto found = std::find(i_names.begin(), i_names.end(), Trimmed(i_text));
    if (found == i_names.end())
        throw FieldError("is " + Quote(Trimmed(i_text)) + ", which is not known");
    return static_cast<Choice>(found - i_names.begin());
}

Turns ParseTurns(std::string_view i_text)
{
    return ParseChoice<Turns>(i_text, std::array<std::string_view, 3>{"None", "AroundZ", "Any"});
}

SupportKind ParseSupportKind(std::string_view i_text)
{
    return ParseChoice<SupportKind>(
        i_text, std::array<std::string_view, 6>{"Point", "Line", "Block", "Contour", "Gusset", "Tree"});
}

void OpenZone(Reading& io_reading)
{
    if (io_reading.rules.zones.size() == MaxZones)
        throw FieldError("stands more than " + std::to_string(MaxZones) + " times");
    io_reading.rules.zones.emplace_back();
}

void CloseZone(Reading& io_reading)
{
    const NoBuildZone& zone = io_reading.rules.zones.back();
    if (zone.minX > zone.maxX || zone.minY > zone.maxY || zone.minZ > zone.maxZ)
        throw FieldError("ends before it begins");
}

void OpenSupport(Reading& io_reading)
{
    io_reading.rules.supports.emplace_back();
}

void CloseSupport(Reading& io_reading)
{
    const std::string& type = io_reading.rules.supports.back().surfaceType;
    if (!io_reading.surfaceTypes.insert(type).second)
        throw FieldError("has the surface type " + Quote(type) + " of another");
}

void CloseUse(Reading& io_reading)
{
    if (!io_reading.rules.supportsInUse.emplace(io_reading.usedKind, io_reading.usedProfile).second)
        throw FieldError("has the support type of another");
}

constexpr Record Records[] = {
    {"SupportProfiles"},
    {"SupportProfiles/SupportProfile", true, &OpenSupport, &CloseSupport},
    {"SupportProfiles/SupportProfile/Contact"},
    {"SupportProfiles/ProfilesInUse"},
    {"SupportProfiles/ProfilesInUse/Use", true, nullptr, &CloseUse},
    {"Nesting"},
    {"Nesting/NoBuildZone", true, &OpenZone, &CloseZone},
    {"ParametersBaseplate"},
};

void SetSurfaceType(Reading& io_reading, const std::string& i_text)
{
    if (i_text.empty())
        throw FieldError("is empty");
    io_reading.rules.supports.back().surfaceType = i_text;
}

void SetSupportType(Reading& io_reading, const std::string& i_text)
{
    io_reading.rules.supports.back().kind = ParseSupportKind(i_text);
}

void SetUsedKind(Reading& io_reading, const std::string& i_text)
{
    io_reading.usedKind = ParseSupportKind(i_text);
}

void SetUsedProfile(Reading& io_reading, const std::string& i_text)
{
    io_reading.usedProfile = i_text;
}

void SetTurns(Reading& io_reading, const std::string& i_text)
{
    io_reading.rules.turns = ParseTurns(i_text);
}

void SetZoneName(Reading& io_reading, const std::string& i_text)
{
    io_reading.rules.zones.back().name = i_text;
}

constexpr Field Fields[] = {
    {"SupportProfiles/SupportProfile/SurfaceType", true, nullptr, &SetSurfaceType},
    {"SupportProfiles/SupportProfile/SupportType", true, nullptr, &SetSupportType},
    {"SupportProfiles/SupportProfile/Spacing", false, &Length, &SupportProfile::spacing},
    {"SupportProfiles/SupportProfile/CriticalAngle", false, &Angle, &SupportProfile::criticalAngle},
    {"SupportProfiles/SupportProfile/Contact/Width", false, &Length, &SupportProfile::contactWidth},
    {"SupportProfiles/SupportProfile/Contact/Penetration", false, &Distance, &SupportProfile::contactPenetration},
    {"SupportProfiles/SupportProfile/Contact/Gap", false, &Distance, &SupportProfile::contactGap},
    {"SupportProfiles/ProfilesInUse/Use/SupportType", true, nullptr, &SetUsedKind},
    {"SupportProfiles/ProfilesInUse/Use/Profile", true, nullptr, &SetUsedProfile},
    {"Nesting/PartToPartClearance", false, &Distance, &PreparationRules::partToPart},
    {"Nesting/PartToWallClearance", false, &Distance, &PreparationRules::partToWall},
    {"Nesting/RotationFreedom", true, nullptr, &SetTurns},
    {"Nesting/RotationStep", false, &Angle, &PreparationRules::turnStep},
    {"Nesting/NoBuildZone/Name", false, nullptr, &SetZoneName},
    {"Nesting/NoBuildZone/MinX", true, &Coordinate, &NoBuildZone::minX},
    {"Nesting/NoBuildZone/MinY", true, &Coordinate, &NoBuildZone::minY},
    {"Nesting/NoBuildZone/MinZ", true, &Coordinate, &NoBuildZone::minZ},
    {"Nesting/NoBuildZone/MaxX", true, &Coordinate, &NoBuildZone::maxX},
    {"Nesting/NoBuildZone/MaxY", true, &Coordinate, &NoBuildZone::maxY},
    {"Nesting/NoBuildZone/MaxZ", true, &Coordinate, &NoBuildZone::maxZ},
    {"ParametersBaseplate/MarginLeft", false, &Distance, &PreparationRules::marginLeft},
    {"ParametersBaseplate/MarginRight", false, &Distance, &PreparationRules::marginRight},
    {"ParametersBaseplate/MarginFront", false, &Distance, &PreparationRules::marginFront},
    {"ParametersBaseplate/MarginBack", false, &Distance, &PreparationRules::marginBack},
};

template <class Row, std::size_t Count>
const Row* Find(const Row (&i_rows)[Count], std::string_view i_path)
{
    const Row* const found =
        std::find_if(std::begin(i_rows), std::end(i_rows), [&](const Row& i_row) { return i_row.path == i_path; });
    return found == std::end(i_rows) ? nullptr : found;
}

} // namespace

const Record* FindRecord(std::string_view i_path)
{
    return Find(Records, i_path);
}

const Field* FindField(std::string_view i_path)
{
    return Find(Fields, i_path);
}

std::string_view FindMissing(const Record& i_record, const std::set<std::string, std::less<>>& i_seen)
{
    for (const Field& field : Fields) {
        const std::size_t slash = field.path.rfind('/');
        const std::string_view tag = field.path.substr(slash + 1);
        if (field.isRequired && field.path.substr(0, slash) == i_record.path && !i_seen.contains(tag))
            return tag;
    }
    return {};
}

void SetField(const Field& i_field, const std::string& i_text, Reading& io_reading)
{
    PreparationRules& rules = io_reading.rules;
    if (const auto* const set = std::get_if<void (*)(Reading&, const std::string&)>(&i_field.target))
        return (*set)(io_reading, i_text);
    const double number = ParseNumber(i_text, *i_field.quantity);
    if (const auto* const ofRules = std::get_if<RulesMember>(&i_field.target))
        rules.*(*ofRules) = number;
    else if (const auto* const ofSupport = std::get_if<SupportMember>(&i_field.target))
        rules.supports.back().*(*ofSupport) = number;
    else
        rules.zones.back().*std::get<ZoneMember>(i_field.target) = number;
}

std::string Quote(std::string_view i_text)
{
    return '"' +
           QString::fromUtf8(i_text.data(), static_cast<int>(i_text.size())).simplified().left(100).toStdString() + '"';
}

} // namespace MachineService::BuildProcessor::ReceivedFields
