#include "buildprocessor/ReceivedConfiguration.h"

#include "buildprocessor/Failure.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/XmlReader.h"

#include <QString>

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <iterator>
#include <set>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <variant>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::string_view Base = "https://www.vexlor.example/AM/MachineData/";
constexpr std::size_t MaxZones = 1000;

// Namespaces behind Base: the name of the element, and the version of its format.
struct Format
{
    std::string_view tag;
    std::string_view version;
    const char* notApplied = nullptr; ///< what nothing here can do
};

constexpr Format Document{"MachineConfiguration", "2026/11"};
constexpr Format Sections[] = {{"SupportProfiles", "2022/09"},
                               {"Nesting", "2023/03"},
                               {"ParametersBaseplate", "2023/03"},
                               {"ZBrace", "2023/03", "Z braces"},
                               {"ParametersZCompensation", "2023/03", "Z compensation"},
                               {"ParametersExportPart", "2023/03"}};

/// A text that a field cannot have; becomes the failure with the field's place.
class FieldError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

struct Quantity
{
    std::string_view unit;
    double min;
    double max;
    bool isMinAllowed = true;
};

constexpr Quantity Length{"mm", 0, 1e6, false};
constexpr Quantity Distance{"mm", 0, 1e6};
constexpr Quantity Coordinate{"mm", -1e6, 1e6};
constexpr Quantity Angle{"deg", 0, 360};

std::string Quote(std::string_view i_text)
{
    return '"' + QString::fromUtf8(i_text.data(), static_cast<int>(i_text.size())).left(100).toStdString() + '"';
}

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

using RulesMember = std::optional<double> PreparationRules::*;
using SupportMember = std::optional<double> SupportProfile::*;
using ZoneMember = double NoBuildZone::*;

struct Field
{
    std::string_view path;
    bool isRequired;
    const Quantity* quantity; ///< null for texts
    std::variant<RulesMember, SupportMember, ZoneMember, void (*)(Reading&, const std::string&)> target;
};

void SetSurfaceType(Reading& io_reading, const std::string& i_text)
{
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

/// The row of a table with that path; null when there is none.
template <class Row>
const Row* Find(std::span<const Row> i_rows, std::string_view i_path)
{
    const auto found =
        std::find_if(i_rows.begin(), i_rows.end(), [&](const Row& i_row) { return i_row.path == i_path; });
    return found == i_rows.end() ? nullptr : &*found;
}

class ConfigurationReader final : public TavSDK::XmlReader<ConfigurationReader>
{
public:
    explicit ConfigurationReader(ReceivedConfiguration& o_configuration)
        : XmlReader(&ConfigurationReader::_ReadRoot)
        , _configuration(o_configuration)
        , _reading{o_configuration.rules, {}, {}, {}}
    {}

    bool HasSection() const { return !_sections.empty(); }

private:
    using Attributes = TavSDK::XmlAttributes;

    struct OpenRecord
    {
        const Record* record;
        std::set<std::string, std::less<>> seen; ///< tags in it
    };

    Answer _ReadRoot(std::string_view i_tag, const Attributes& i_attributes)
    {
        if (i_tag != Document.tag || !_HasFormat(Document, i_attributes.Get("xmlns")))
            Fail("the document is no " + Quote(Document.tag) + " of " + std::string(Document.version));
        return Taken(&ConfigurationReader::_ReadSection);
    }

    Answer _ReadSection(std::string_view i_tag, const Attributes& i_attributes)
    {
        const std::string_view localName = i_tag.substr(i_tag.find(':') + 1);
        const auto* const format = std::find_if(std::begin(Sections), std::end(Sections),
                                                [&](const Format& i_format) { return i_format.tag == localName; });
        if (format == std::end(Sections))
            return NotTaken();
        // Said rather than passed over: the section would be missing without a word.
        if (localName != i_tag || !i_attributes.Find("xmlns"))
            Fail(std::string(i_tag) + " does not say its namespace as xmlns");
        if (!_HasFormat(*format, i_attributes.Get("xmlns")))
            return NotTaken();
        if (!_sections.emplace(i_tag).second)
            Fail(std::string(i_tag) + " stands twice");
        if (format->notApplied)
            _configuration.notApplied.emplace_back(format->notApplied);
        const Record* const record = Find<Record>(Records, i_tag);
        if (!record)
            return Taken();
        _namespace = i_attributes.Get("xmlns");
        return _Open(*record);
    }

    Answer _ReadField(std::string_view i_tag, const Attributes& i_attributes)
    {
        if (i_attributes.Find("xmlns").value_or(_namespace) != _namespace)
            return NotTaken();
        const std::string path = std::string(_open.back().record->path) + '/' + std::string(i_tag);
        const Record* const record = Find<Record>(Records, path);
        const Field* const field = Find<Field>(Fields, path);
        if (!record && !field)
            return NotTaken();
        if (!_open.back().seen.emplace(i_tag).second && !(record && record->isRepeatable))
            Fail(path + " stands twice");
        if (record)
            return _Open(*record);
        // A number in another unit must not pass for one in ours.
        if (field->quantity && i_attributes.Get("unit") != field->quantity->unit)
            Fail(path + " has the unit " + Quote(i_attributes.Get("unit")) + " and not " +
                 Quote(field->quantity->unit));
        if (std::string text; ReadValue(text))
            _Guard(path, [&] { SetField(*field, text, _reading); });
        return Taken();
    }

    Answer _Open(const Record& i_record)
    {
        if (i_record.open)
            _Guard(i_record.path, [&] { i_record.open(_reading); });
        _open.push_back({&i_record, {}});
        return Taken(&ConfigurationReader::_ReadField, &ConfigurationReader::_Close);
    }

    void _Close()
    {
        const OpenRecord closed = std::move(_open.back());
        _open.pop_back();
        const std::string_view path = closed.record->path;
        for (const Field& field : Fields) {
            const std::size_t slash = field.path.rfind('/');
            if (field.isRequired && field.path.substr(0, slash) == path &&
                !closed.seen.contains(field.path.substr(slash + 1)))
                Fail(std::string(path) + " lacks " + std::string(field.path.substr(slash + 1)));
        }
        if (closed.record->close)
            _Guard(path, [&] { closed.record->close(_reading); });
    }

    template <class Action>
    void _Guard(std::string_view i_path, const Action& i_action)
    {
        try {
            i_action();
        } catch (const FieldError& error) {
            Fail(std::string(i_path) + ' ' + error.what());
        }
    }

    /// Fails for another version of the format; false for anything else that it is not.
    bool _HasFormat(const Format& i_format, std::string_view i_namespace)
    {
        const std::string family = std::string(Base) + std::string(i_format.tag) + '/';
        if (!i_namespace.starts_with(family))
            return false;
        const std::string_view version = i_namespace.substr(family.size());
        if (version != i_format.version)
            Fail(Quote(i_format.tag) + " has the format of " + Quote(version) + ", which is " +
                 (version > i_format.version ? "newer than this service" : "not known") + ": it reads that of " +
                 Quote(i_format.version));
        return true;
    }

    ReceivedConfiguration& _configuration;
    Reading _reading;
    std::string _namespace; ///< of the section that is read
    std::vector<OpenRecord> _open;
    std::set<std::string, std::less<>> _sections;
};

} // namespace

ReceivedConfiguration ReadReceivedConfiguration(const TavAM::Platform& i_platform)
{
    ReceivedConfiguration configuration;
    const auto text = i_platform.GetAMXProperties().GetText(TavAM::PropertyNames::Print3D::MachineConfiguration);
    if (!text)
        return configuration;
    ConfigurationReader reader(configuration);
    std::string error;
    if (!reader.ParseText(QString::fromStdWString(*text).toStdString()))
        error = reader.GetError();
    else if (!reader.HasSection())
        error = "It has no section.";
    if (!error.empty())
        Fail(ErrorCode::FileError, "The machine configuration of the platform cannot be read: " + error);
    return configuration;
}

} // namespace MachineService::BuildProcessor
